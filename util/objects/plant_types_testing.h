// For tests, benchmarks and fuzz targets of projects: a plant of channels, devices and tags that has fields of every
// kind, and plants of any size.
//
//   const plant_testing::CTypes types;                                    // registered as long as it lives
//   zorutil::owned_obj_ptr plant = plant_testing::MakePlant(2, 3, 10);    // 2 channels of 3 devices of 10 tags
#pragma once

#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "platform/framework/cstring.h"
#include "util/objects/described_object.h"
#include "util/objects/object_ref.h"
#include "util/objects/table.h"
#include "util/objects/type_description.h"
#include "util/values/variant.h"

namespace plant_testing {

using zorutil::ChildTable;
using zorutil::CreateDescribed;
using zorutil::Field;
using zorutil::MakePropertyId;
using zorutil::Password;

enum type_t : short { kPlant = 901, kChannel = 902, kDevice = 903, kTag = 904 };
inline constexpr int kNamespace = 901;

class CTag final : public zorutil::CDescribedObj {
 public:
  enum scaling_t : std::uint8_t { NONE, LINEAR, SQUARE_ROOT };
  enum data_type_t : std::int16_t { DEFAULT = -1, TEXT, TRUTH };

  static const zorutil::type_description_t kType;
  CTag() : CDescribedObj(kType) {}
  void OnLoadComplete() override { ++completions; }

  int completions = 0;  // not stored
  CString address;
  data_type_t dataType = DEFAULT;
  bool isWritable = true;
  std::uint32_t scanRate = 100;
  scaling_t scaling = NONE;
  double rawLow = 0, rawHigh = 1000, scaledLow = 0, scaledHigh = 1000;
  bool clampLow = false, clampHigh = false;
  float deadband = 0;
  CString units;
  CVariant initialValue;

 private:
  static const zorutil::field_t kFields[];
};

class CDevice final : public zorutil::CDescribedObj {
 public:
  static const zorutil::type_description_t kType;
  CDevice() : CDescribedObj(kType) {}

  std::uint8_t station = 1;
  std::uint16_t port = 502;
  std::int64_t offset = 0;
  std::uint64_t serial = 0;
  std::int32_t clockAt = 10800;
  CString password;  // encrypted
  zorutil::CChildTable tags{*this};
  zorutil::CChildTable devices{*this, 1};  // behind this one, when it is a gateway itself

  int GetRetries() const { return retries_; }
  /// 1 to 10.
  bool SetRetries(int retries) {
    if (retries < 1 || retries > 10) return false;
    retries_ = static_cast<std::int8_t>(retries);
    return true;
  }

 private:
  static const zorutil::field_t kFields[];
  static const zorutil::child_table_t kTables[];
  std::int8_t retries_ = 3;
};

class CChannel final : public zorutil::CDescribedObj {
 public:
  static const zorutil::type_description_t kType;
  CChannel() : CDescribedObj(kType) {}
  std::int16_t medium = 0;
  std::int8_t priority = 0;
  zorutil::CChildTable devices{*this};

 private:
  static const zorutil::field_t kFields[];
  static const zorutil::child_table_t kTables[];
};

class CPlant final : public zorutil::CDescribedObj {
 public:
  static const zorutil::type_description_t kType;
  CPlant() : CDescribedObj(kType) {}
  CString title;
  zorutil::CChildTable channels{*this};
  zorutil::CChildTable tags{*this};  // of the plant as a whole

 private:
  static const zorutil::field_t kFields[];
  static const zorutil::child_table_t kTables[];
};

inline constexpr zorutil::field_t CTag::kFields[] = {
    Field<&CTag::address>(MakePropertyId(kNamespace, 1), u"Address"),
    Field<&CTag::dataType>(MakePropertyId(kNamespace, 2), u"DataType"),
    Field<&CTag::isWritable>(MakePropertyId(kNamespace, 3), u"Writable"),
    Field<&CTag::scanRate>(MakePropertyId(kNamespace, 4), u"ScanRate"),
    Field<&CTag::scaling>(MakePropertyId(kNamespace, 5), u"Scaling"),
    Field<&CTag::rawLow>(MakePropertyId(kNamespace, 6), u"RawLow"),
    Field<&CTag::rawHigh>(MakePropertyId(kNamespace, 7), u"RawHigh"),
    Field<&CTag::scaledLow>(MakePropertyId(kNamespace, 8), u"ScaledLow"),
    Field<&CTag::scaledHigh>(MakePropertyId(kNamespace, 9), u"ScaledHigh"),
    Field<&CTag::clampLow>(MakePropertyId(kNamespace, 10), u"ClampLow"),
    Field<&CTag::clampHigh>(MakePropertyId(kNamespace, 11), u"ClampHigh"),
    Field<&CTag::units>(MakePropertyId(kNamespace, 12), u"Units", 2),  // between those of version 1
    Field<&CTag::deadband>(MakePropertyId(kNamespace, 13), u"Deadband"),
    Field<&CTag::initialValue>(MakePropertyId(kNamespace, 14), u"InitialValue", 2),
};
inline constexpr zorutil::type_description_t CTag::kType = {kTag, 0, 2, u"Tag", &CreateDescribed<CTag>, kFields};

inline constexpr zorutil::field_t CDevice::kFields[] = {
    Field<&CDevice::station>(MakePropertyId(kNamespace, 101), u"Station"),
    Field<&CDevice::port>(MakePropertyId(kNamespace, 102), u"Port"),
    Field<&CDevice::offset>(MakePropertyId(kNamespace, 103), u"Offset"),
    Field<&CDevice::serial>(MakePropertyId(kNamespace, 104), u"Serial"),
    Field<&CDevice::clockAt>(MakePropertyId(kNamespace, 105), u"ClockAt", 0, zorutil::properties::TYPE_TIME_OF_DAY),
    Password<&CDevice::password>(MakePropertyId(kNamespace, 106), u"Password"),
    Field<&CDevice::GetRetries, &CDevice::SetRetries>(MakePropertyId(kNamespace, 107), u"Retries"),
};
inline constexpr zorutil::child_table_t CDevice::kTables[] = {ChildTable<&CDevice::tags, kTag>(u"Tags"),
                                                              ChildTable<&CDevice::devices, kDevice>(u"Devices", 2)};
inline constexpr zorutil::type_description_t CDevice::kType = {kDevice, 0,      2, u"Device", &CreateDescribed<CDevice>,
                                                               kFields, kTables};

inline constexpr zorutil::field_t CChannel::kFields[] = {
    Field<&CChannel::medium>(MakePropertyId(kNamespace, 201), u"Medium"),
    Field<&CChannel::priority>(MakePropertyId(kNamespace, 202), u"Priority")};
inline constexpr zorutil::child_table_t CChannel::kTables[] = {ChildTable<&CChannel::devices, kDevice>(u"Devices")};
inline constexpr zorutil::type_description_t CChannel::kType = {
    kChannel, 0, 1, u"Channel", &CreateDescribed<CChannel>, kFields, kTables};

inline constexpr zorutil::field_t CPlant::kFields[] = {
    Field<&CPlant::title>(MakePropertyId(kNamespace, 301), u"Title")};
inline constexpr zorutil::child_table_t CPlant::kTables[] = {ChildTable<&CPlant::channels, kChannel>(u"Channels"),
                                                             ChildTable<&CPlant::tags, kTag>(u"Tags")};
inline constexpr zorutil::type_description_t CPlant::kType = {kPlant,  0,      1, u"Plant", &CreateDescribed<CPlant>,
                                                              kFields, kTables};

/// All types, as long as it lives.
class CTypes {
 public:
  CTypes() {
    for (const auto* type : kAll) zorutil::RegisterType(*type);
  }
  CTypes(const CTypes&) = delete;
  CTypes& operator=(const CTypes&) = delete;
  ~CTypes() {
    for (const auto* type : kAll) zorutil::UnregisterType(*type);
  }

 private:
  static constexpr const zorutil::type_description_t* kAll[] = {&CPlant::kType, &CChannel::kType, &CDevice::kType,
                                                                &CTag::kType};
};

/// A new object of that name in the table.
template <class T>
T& Add(CTable& table, const CString& name) {
  T* const made = new T;
  zorutil::owned_obj_ptr owner(made);
  made->SetName(name.GetString());
  if (table.Insert(made) == CTable::invalid_index) throw std::runtime_error("the name is taken: " + name.ToUtf8());
  owner.release();
  return *made;
}

/// A name with a number of as many digits, so that the order of the names is that of the numbers.
inline CString NumberedName(const char* base, unsigned number, int digits = 7) {
  std::string text = std::to_string(number);
  return CString(
      base +
      std::string(text.size() < static_cast<std::size_t>(digits) ? static_cast<std::size_t>(digits) - text.size() : 0,
                  '0') +
      text);
}

inline void FillTag(CTag& tag, unsigned number) {
  tag.address = CString(std::to_string(40001 + number));
  tag.dataType = static_cast<CTag::data_type_t>(number % 15);
  tag.scanRate = 100 * (number % 10 + 1);
  tag.scaling = static_cast<CTag::scaling_t>(number % 3);
  tag.scaledHigh = 0.1 * number;
  tag.clampLow = number % 2 == 0;
  tag.deadband = 0.1F * static_cast<float>(number % 7);
  tag.units = u"m³/h";
  tag.initialValue = CVariant::FromDouble(number / 3.0);
}

inline zorutil::owned_obj_ptr MakePlant(unsigned channels, unsigned devices, unsigned tags) {
  auto* const plant = new CPlant;
  zorutil::owned_obj_ptr owner(plant);
  plant->SetName(u"Plant");
  plant->SetDescription(u"of the tests");
  plant->title = u"Wasserwerk Süd";
  unsigned number = 0;
  for (unsigned c = 0; c < channels; ++c) {
    CChannel& channel = Add<CChannel>(plant->channels, NumberedName("Channel", c));
    channel.medium = static_cast<std::int16_t>(c);
    for (unsigned d = 0; d < devices; ++d) {
      CDevice& device = Add<CDevice>(channel.devices, NumberedName("Device", d));
      device.station = static_cast<std::uint8_t>(d);
      device.serial = ~std::uint64_t{0} - d;
      for (unsigned t = 0; t < tags; ++t) FillTag(Add<CTag>(device.tags, NumberedName("Tag", t)), number++);
    }
  }
  return owner;
}

/// A plant with everything that a form could lose: odd texts, reals and variants.
inline zorutil::owned_obj_ptr MakeOddPlant() {
  zorutil::owned_obj_ptr owner = MakePlant(2, 2, 3);
  auto& plant = static_cast<CPlant&>(*owner);
  plant.SetName(u"<Werk> & \\ 'Süd' / ~1");
  plant.SetDescription(u"  two\r\nlines\t ");
  using namespace std::string_view_literals;
  plant.title = u"NUL \0, bell \a, half \xD83D"sv;
  const CVariant values[] = {CVariant(),
                             CVariant::Null(),
                             CVariant(u""),
                             CVariant(u"I2:5"),
                             CVariant::FromBool(true),
                             CVariant::FromInt8(-8),
                             CVariant::FromInt32(5),
                             CVariant::FromInt64(5),
                             CVariant::FromUInt64(~std::uint64_t{0}),
                             CVariant::FromFloat(0.1F),
                             CVariant::FromDouble(1.0),
                             CVariant::FromDouble(NAN),
                             CVariant::FromDate(45000.25),
                             CVariant::FromArray(std::vector<double>{0.1, -0.0}),
                             CVariant::FromArray(std::vector<std::int16_t>{1, 2, 3})};
  const double reals[] = {0.1 + 0.2, -0.0, -NAN, INFINITY, -INFINITY, 5e-324, 1e38, 1e16};
  unsigned number = 0;
  for (const CVariant& value : values) {
    CTag& tag = Add<CTag>(plant.tags, NumberedName("Tag é", number, 3));
    tag.initialValue = value;
    tag.rawLow = reals[number % std::size(reals)];
    tag.deadband = static_cast<float>(reals[(number + 3) % std::size(reals)]);
    tag.address = CString(std::u16string(number * 300, u'ä'));
    if (number % 2 == 0) tag.SetDescription(u"\xD800");
    ++number;
  }
  auto& device = static_cast<CDevice&>(*plant.channels.GetRecord(0)->GetChildTable(0)->GetRecord(0));
  device.password = u"$zpw$of a key that nobody has";
  device.offset = std::numeric_limits<std::int64_t>::min();
  Add<CDevice>(Add<CDevice>(device.devices, u"behind").devices, u"further behind").SetName(u"ﬀ ß");
  return owner;
}

}  // namespace plant_testing
