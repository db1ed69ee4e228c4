#include "examples/gateway/types/object_types.h"

#include <string>

#include "examples/gateway/types/texts.h"
#include "util/i18n/message_exception.h"
#include "util/objects/type_library.h"

using zorutil::ChildTable;
using zorutil::CreateDescribed;
using zorutil::Field;
using zorutil::field_t;
using zorutil::MakePropertyId;
using zorutil::Password;
using zorutil::type_description_t;
namespace properties = zorutil::properties;

namespace gateway {
namespace {

// The namespaces of the definitions.
enum namespace_t : int { kProjects = 2, kChannels = 3, kDevices = 4, kTagGroups = 5, kTags = 6 };

const type_description_t* const kTypes[] = {&CProject::kType, &CChannel::kType, &CDevice::kType, &CTagGroup::kType,
                                            &CTag::kType};

}  // namespace

std::span<const type_description_t* const> GetTypes() { return kTypes; }

void RegisterTypes() {
  std::size_t done = 0;
  try {
    for (; done < std::size(kTypes); ++done) zorutil::RegisterType(*kTypes[done]);
  } catch (...) {
    while (done-- > 0) zorutil::UnregisterType(*kTypes[done]);
    throw;
  }
}

void UnregisterTypes() {
  for (const type_description_t* const type : kTypes) zorutil::UnregisterType(*type);
}

void CConfigObj::SetModified(bool isModified) {
  if (isModified) changes_.fetch_add(1, std::memory_order_release);
  CDescribedObj::SetModified(isModified);
}

// --- project ------------------------------------------------------------------------------------------------------

constexpr field_t CProject::kFields[] = {
    Field<&CProject::author_>(MakePropertyId(kProjects, 768), u"Author"),
    Field<&CProject::revision_>(MakePropertyId(kProjects, 1024), u"Revision"),
};
// The table of all other types comes last, so that a channel goes among the channels.
constexpr zorutil::child_table_t CProject::kTables[] = {ChildTable<&CProject::channels_, kChannel>(u"Channels"),
                                                        ChildTable<&CProject::equipment_>(u"Equipment", 2)};
constexpr type_description_t CProject::kType = {kProject, 0,      2, u"Project", &CreateDescribed<CProject>,
                                                kFields,  kTables};

CProject::CProject() : CConfigObj(kType) {}

// --- channel ------------------------------------------------------------------------------------------------------

constexpr field_t CChannel::kFields[] = {
    Field<&CChannel::medium_>(MakePropertyId(kChannels, 768), u"Medium"),
    Field<&CChannel::address_>(MakePropertyId(kChannels, 2560), u"Address"),
    Field<&CChannel::port_>(MakePropertyId(kChannels, 2816), u"Port"),
    Field<&CChannel::serialPort_>(MakePropertyId(kChannels, 5120), u"SerialPort"),
    Field<&CChannel::baudRate_>(MakePropertyId(kChannels, 5376), u"BaudRate", 0, properties::TYPE_ENUMERATION),
    Field<&CChannel::optimizesWrites_>(MakePropertyId(kChannels, 7680), u"WriteOptimization"),
    Field<&CChannel::writesPerRead_>(MakePropertyId(kChannels, 7936), u"WritesPerRead"),
};
constexpr zorutil::child_table_t CChannel::kTables[] = {ChildTable<&CChannel::devices_, kDevice>(u"Devices")};
constexpr type_description_t CChannel::kType = {kChannel, 0,      1, u"Channel", &CreateDescribed<CChannel>,
                                                kFields,  kTables};

CChannel::CChannel() : CConfigObj(kType) {}

CString CChannel::GetLineAddress() const {
  switch (medium_) {
    case TCP_IP: return CString(address_.ToUtf8() + ":" + std::to_string(port_));
    case SERIAL: return CString("serial " + std::to_string(serialPort_));
    default: return u"simulation";
  }
}

// --- device, tag group --------------------------------------------------------------------------------------------

constexpr field_t CDevice::kFields[] = {
    Field<&CDevice::station_>(MakePropertyId(kDevices, 768), u"StationId"),
    Field<&CDevice::isCollected_>(MakePropertyId(kDevices, 1024), u"Collects", 0, properties::TYPE_ENABLE_DISABLE),
    Field<&CDevice::connectTimeout_>(MakePropertyId(kDevices, 2560), u"ConnectTimeout"),
    Field<&CDevice::requestTimeout_>(MakePropertyId(kDevices, 2816), u"RequestTimeout"),
    Field<&CDevice::retries_>(MakePropertyId(kDevices, 3072), u"Retries"),
    Field<&CDevice::isDemotedOnFailure_>(MakePropertyId(kDevices, 5120), u"DemoteOnFailure"),
    Field<&CDevice::demotionPeriod_>(MakePropertyId(kDevices, 5376), u"DemotionPeriod"),
    Field<&CDevice::userName_>(MakePropertyId(kDevices, 7680), u"UserName"),
    Password<&CDevice::password_>(MakePropertyId(kDevices, 7936), u"Password"),
    Field<&CDevice::setsClock_>(MakePropertyId(kDevices, 10240), u"ClockSync"),
    Field<&CDevice::setsClockAt_>(MakePropertyId(kDevices, 10496), u"ClockSyncAt", 0, properties::TYPE_TIME_OF_DAY),
};
constexpr zorutil::child_table_t CDevice::kTables[] = {ChildTable<&CDevice::tags_, kTag>(u"Tags"),
                                                       ChildTable<&CDevice::groups_, kTagGroup>(u"TagGroups")};
constexpr type_description_t CDevice::kType = {kDevice, 0, 1, u"Device", &CreateDescribed<CDevice>, kFields, kTables};

constexpr field_t CTagGroup::kFields[] = {
    Field<&CTagGroup::isCollected_>(MakePropertyId(kTagGroups, 768), u"Collects", 0, properties::TYPE_ENABLE_DISABLE),
};
constexpr zorutil::child_table_t CTagGroup::kTables[] = {ChildTable<&CTagGroup::tags_, kTag>(u"Tags"),
                                                         ChildTable<&CTagGroup::groups_, kTagGroup>(u"TagGroups")};
constexpr type_description_t CTagGroup::kType = {kTagGroup, 0,      1, u"TagGroup", &CreateDescribed<CTagGroup>,
                                                 kFields,   kTables};

CDevice::CDevice() : CConfigObj(kType) {}
CTagGroup::CTagGroup() : CConfigObj(kType) {}

// --- tag ----------------------------------------------------------------------------------------------------------

template <auto GET>
auto CTag::Of(const CTag& tag) {
  if constexpr (requires { (tag.scaling_.*GET)(); }) {
    return (tag.scaling_.*GET)();
  } else {
    return (tag.deadband_.*GET)();
  }
}

template <auto SET, class T>
void CTag::Put(CTag& tag, T value) {
  if constexpr (requires { (tag.scaling_.*SET)(value); }) {
    (tag.scaling_.*SET)(value);
  } else {
    (tag.deadband_.*SET)(value);
  }
}

constexpr field_t CTag::kFields[] = {
    Field<&CTag::address_>(MakePropertyId(kTags, 768), u"Address", 0, properties::TYPE_STRING_WITH_BROWSER),
    Field<&CTag::dataType_, &CTag::SetDataType>(MakePropertyId(kTags, 1024), u"DataType"),
    Field<&CTag::isWritable_>(MakePropertyId(kTags, 1280), u"Writable", 0, properties::TYPE_ALLOW_DENY),
    Field<&CTag::GetScanMs, &CTag::SetScanMs>(MakePropertyId(kTags, 1536), u"ScanRate"),
    Field<&CTag::Of<&CScaling::GetUnits>, &CTag::Put<&CScaling::SetUnits, CString>>(MakePropertyId(kTags, 1792),
                                                                                    u"Unit"),
    Field<&CTag::Of<&CScaling::GetScalingType>, &CTag::SetScalingType>(MakePropertyId(kTags, 2560), u"Scaling"),
    Field<&CTag::Of<&CScaling::GetRawLow>, &CTag::Put<&CScaling::SetRawLow, double>>(MakePropertyId(kTags, 2816),
                                                                                     u"RawLow"),
    Field<&CTag::Of<&CScaling::GetRawHigh>, &CTag::Put<&CScaling::SetRawHigh, double>>(MakePropertyId(kTags, 3072),
                                                                                       u"RawHigh"),
    Field<&CTag::Of<&CScaling::GetScaledLow>, &CTag::Put<&CScaling::SetScaledLow, double>>(MakePropertyId(kTags, 3328),
                                                                                           u"ScaledLow"),
    Field<&CTag::Of<&CScaling::GetScaledHigh>, &CTag::Put<&CScaling::SetScaledHigh, double>>(
        MakePropertyId(kTags, 3584), u"ScaledHigh"),
    Field<&CTag::Of<&CScaling::GetScaledDataType>, &CTag::SetScaledType>(MakePropertyId(kTags, 3840), u"ScaledType"),
    Field<&CTag::Of<&CScaling::GetClampLow>, &CTag::Put<&CScaling::SetClampLow, bool>>(MakePropertyId(kTags, 4096),
                                                                                       u"ClampLow"),
    Field<&CTag::Of<&CScaling::GetClampHigh>, &CTag::Put<&CScaling::SetClampHigh, bool>>(MakePropertyId(kTags, 4352),
                                                                                         u"ClampHigh"),
    Field<&CTag::Of<&CScaling::GetNegateValue>, &CTag::Put<&CScaling::SetNegateValue, bool>>(
        MakePropertyId(kTags, 4608), u"Negate"),
    Field<&CTag::Of<&CDeadband::GetDeadbandType>, &CTag::SetDeadbandType>(MakePropertyId(kTags, 4864), u"DeadbandType"),
    Field<&CTag::Of<&CDeadband::GetDeadband>, &CTag::Put<&CDeadband::SetDeadband, double>>(MakePropertyId(kTags, 5120),
                                                                                           u"Deadband"),
};
constexpr type_description_t CTag::kType = {kTag, 0, 1, u"Tag", &CreateDescribed<CTag>, kFields};

CTag::CTag() : CConfigObj(kType) { scanRate_.SetResolutionRate(100, CResolutionRate::MILLISECONDS); }

std::uint32_t CTag::GetScanMs(const CTag& tag) { return tag.scanRate_.GetRateInMilliseconds(); }

bool CTag::SetScanMs(CTag& tag, std::uint32_t milliseconds) {
  return milliseconds != 0 && tag.scanRate_.SetResolutionRate(milliseconds, CResolutionRate::MILLISECONDS) != 0;
}

bool CTag::SetDataType(CTag& tag, DATATYPE type) {
  if (type < DT_STRING || type > DT_QWORD) return false;
  tag.dataType_ = type;
  return true;
}

bool CTag::SetScaledType(CTag& tag, DATATYPE type) {
  if (type < DT_STRING || type > DT_QWORD) return false;
  tag.scaling_.SetScaledDataType(type);
  return true;
}

bool CTag::SetScalingType(CTag& tag, CScaling::SCALINGTYPE type) {
  if (type < CScaling::NONE || type > CScaling::SQUARE_ROOT) return false;
  tag.scaling_.SetScalingType(type);
  return true;
}

bool CTag::SetDeadbandType(CTag& tag, CDeadband::deadband_t type) {
  if (type < CDeadband::NONE || type > CDeadband::PERCENT) return false;
  tag.deadband_.SetDeadbandType(type);
  return true;
}

CScaling CTag::GetScaling() const {
  CScaling scaling = scaling_;
  const bool computes = scaling.GetScalingType() != CScaling::NONE || scaling.GetClampLow() || scaling.GetClampHigh() ||
                        scaling.GetNegateValue();
  if (!computes) scaling.SetScaledDataType(dataType_);
  return scaling;
}

CDeadband CTag::GetDeadband() const {
  CDeadband deadband = deadband_;
  deadband.SetLowRange(scaling_.GetScaledLow());
  deadband.SetHighRange(scaling_.GetScaledHigh());
  return deadband;
}

void CTag::ValidateProperties(const property_list_t& list, IValidationContext& context) const {
  CConfigObj::ValidateProperties(list, context);
  CTag tag;  // as it would be
  tag.dataType_ = dataType_;
  tag.scaling_ = scaling_;
  for (const auto& property : list) {
    const field_t* const field = kType.FindField(property->GetId());
    if (field != nullptr) zorutil::SetField(tag, *field, property->GetValue());
  }
  CScaling::SCALINGRESULT verdict = CScaling::VALID;
  if (tag.scaling_.IsValid(tag.dataType_, &verdict)) return;
  throw i18n::message_exception_t(MakeScalingMessage(verdict), u"Scaling", u"", 0, verdict);
}

}  // namespace gateway

ZORUTIL_TYPE_LIBRARY(gateway::CProject::kType, gateway::CChannel::kType, gateway::CDevice::kType,
                     gateway::CTagGroup::kType, gateway::CTag::kType)
