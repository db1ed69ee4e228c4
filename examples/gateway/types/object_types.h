// The object types of the gateway: a project has channels, a channel devices, a device tags and groups of tags.
//
//   gateway::RegisterTypes();                                                 // a program that is linked with them
//   zorutil::CTypeLibrary types(u"gateway_types.so");                         // or any other, by the plug-in
//   auto* tag = static_cast<gateway::CTag*>(found.get());                     // found->GetType() == gateway::kTag
//   zorutil::object_lock_t lock(*tag);
//   tag->GetScanRate().GetRateInMilliseconds();
//
// What each setting means stands in its definition (examples/definitions). Settings are read and changed under the
// object's lock.
//
// How a running program is told of changes: every object counts those of itself and of what lies below it. A program
// keeps the number that it saw, before it reads the settings, and reads again when there is another one.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>

#include "examples/gateway/types/types_export.h"
#include "util/objects/described_object.h"
#include "util/tagproc/deadband.h"
#include "util/tagproc/resolution_rate.h"
#include "util/tagproc/scaling.h"
#include "util/values/data_type.h"

namespace gateway {

/// Stored in project files: the numbers never change.
enum object_type_t : short { kProject = 1, kChannel = 2, kDevice = 3, kTagGroup = 4, kTag = 5 };

/// In the order of their numbers.
GATEWAY_TYPES_API std::span<const zorutil::type_description_t* const> GetTypes();
/// Makes the types known, for programs that are linked with this library. All or none; CException -1 when one is known.
GATEWAY_TYPES_API void RegisterTypes();
GATEWAY_TYPES_API void UnregisterTypes();

/// What all of them have in common.
class GATEWAY_TYPES_API CConfigObj : public zorutil::CDescribedObj {
 public:
  /// Counts what SetModified(true) brings: settings, names, children that come and go, here and below. Any number of
  /// threads.
  std::uint32_t GetChangeCount() const noexcept { return changes_.load(std::memory_order_acquire); }
  void SetModified(bool isModified) override;

 protected:
  using CDescribedObj::CDescribedObj;

 private:
  std::atomic<std::uint32_t> changes_{0};
};

class GATEWAY_TYPES_API CProject : public CConfigObj {
 public:
  static const zorutil::type_description_t kType;
  CProject();

 private:
  static const zorutil::field_t kFields[];
  static const zorutil::child_table_t kTables[];

  CString author_;
  std::uint32_t revision_ = 0;
  zorutil::CChildTable channels_{*this};
  zorutil::CChildTable equipment_{*this};  // objects of any type, such as a plug-in's; they are kept, not run
};

class GATEWAY_TYPES_API CChannel : public CConfigObj {
 public:
  enum medium_t : std::int32_t { TCP_IP, SERIAL, SIMULATION };

  static const zorutil::type_description_t kType;
  CChannel();

  /// How its readings name it: "10.1.1.20:502", "serial 3", "simulation".
  CString GetLineAddress() const;

 private:
  static const zorutil::field_t kFields[];
  static const zorutil::child_table_t kTables[];

  medium_t medium_ = TCP_IP;
  CString address_ = u"127.0.0.1";
  std::uint16_t port_ = 502;
  std::uint16_t serialPort_ = 1;
  std::int32_t baudRate_ = 9600;
  bool optimizesWrites_ = true;
  std::uint16_t writesPerRead_ = 10;
  zorutil::CChildTable devices_{*this};
};

class GATEWAY_TYPES_API CDevice : public CConfigObj {
 public:
  static const zorutil::type_description_t kType;
  CDevice();

  std::uint16_t GetStation() const noexcept { return station_; }
  bool IsCollected() const noexcept { return isCollected_; }

 private:
  static const zorutil::field_t kFields[];
  static const zorutil::child_table_t kTables[];

  std::uint16_t station_ = 1;
  bool isCollected_ = true;
  std::uint32_t connectTimeout_ = 3;     // s
  std::uint32_t requestTimeout_ = 1000;  // ms
  std::uint16_t retries_ = 3;
  bool isDemotedOnFailure_ = false;
  std::uint32_t demotionPeriod_ = 10000;  // ms
  CString userName_;
  CString password_;  // encrypted
  bool setsClock_ = false;
  std::int32_t setsClockAt_ = 3 * 3600;  // s since midnight
  zorutil::CChildTable tags_{*this};
  zorutil::CChildTable groups_{*this};
};

class GATEWAY_TYPES_API CTagGroup : public CConfigObj {
 public:
  static const zorutil::type_description_t kType;
  CTagGroup();

  bool IsCollected() const noexcept { return isCollected_; }

 private:
  static const zorutil::field_t kFields[];
  static const zorutil::child_table_t kTables[];

  bool isCollected_ = true;
  zorutil::CChildTable tags_{*this};
  zorutil::CChildTable groups_{*this};
};

class GATEWAY_TYPES_API CTag : public CConfigObj {
 public:
  static const zorutil::type_description_t kType;
  CTag();

  const CString& GetAddress() const noexcept { return address_; }
  DATATYPE GetDataType() const noexcept { return dataType_; }
  const CResolutionRate& GetScanRate() const noexcept { return scanRate_; }
  /// Its type is the data type where nothing is scaled.
  CScaling GetScaling() const;
  /// A percentage is one of the scaled range.
  CDeadband GetDeadband() const;

  /// Beyond the limits of single settings: a scaling that its data type and ranges make impossible.
  void ValidateProperties(const property_list_t& list, IValidationContext& context) const override;

 private:
  static const zorutil::field_t kFields[];

  // What fields need beyond members. The setters refuse what nothing can run with; limits are the definitions'.
  template <auto GET>
  static auto Of(const CTag& tag);
  template <auto SET, class T>
  static void Put(CTag& tag, T value);
  static std::uint32_t GetScanMs(const CTag& tag);
  static bool SetScanMs(CTag& tag, std::uint32_t milliseconds);
  static bool SetDataType(CTag& tag, DATATYPE type);
  static bool SetScaledType(CTag& tag, DATATYPE type);
  static bool SetScalingType(CTag& tag, CScaling::SCALINGTYPE type);
  static bool SetDeadbandType(CTag& tag, CDeadband::deadband_t type);

  CString address_;
  DATATYPE dataType_ = DT_FLOAT;
  bool isWritable_ = true;
  CResolutionRate scanRate_;
  CScaling scaling_;
  CDeadband deadband_;
};

}  // namespace gateway
