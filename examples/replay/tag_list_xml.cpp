#include <stdexcept>

#include "examples/replay/tag_check.h"
#include "examples/replay/tag_list.h"
#include "util/docs/xml_document.h"
#include "util/i18n/localized_message.h"

namespace replay {
namespace {

// Reads one element of a list and says in which line a fault lies.
class CTagElement {
 public:
  CTagElement(CXmlDocument& document, void* element, std::string_view fileName, CProblemLog& log)
      : document_(document), element_(element), fileName_(fileName), log_(log) {}

  tag_t Read() {
    const std::uint64_t problems = log_.GetCount();
    tag_t tag;
    tag.line = document_.GetLine(element_);
    CString text;
    document_.ReadElement(element_, nullptr, u"Name", true, text);
    tag.name = text.Trim().ToUtf8();
    if (tag.name.empty()) Complain(element_, "a tag without a name");
    if (document_.ReadElement(element_, nullptr, u"RawType", true, text) != nullptr &&
        !ReadRawType(text.Trim(), tag.rawType)) {
      Complain(element_, "RawType " + Quoted(text.ToUtf8()) + ": expected " + ExpectedRawTypes());
    }
    tag.scaling.SetScaledDataType(tag.rawType);
    CString unit;
    document_.ReadElement(element_, nullptr, u"Unit", true, unit);
    ReadPart(u"Scaling", [&](void* part) { ReadScaling(part, tag.scaling); });
    ReadPart(u"Deadband", [&](void* part) { ReadDeadband(part, tag.deadband); });
    if (unit.IsEmpty()) unit = tag.scaling.GetUnits();
    tag.scaling.SetUnits(unit);
    tag.unit = unit.ToUtf8();
    tag.isScaled = tag.scaling.GetScalingType() != CScaling::NONE || tag.scaling.GetScaledDataType() != tag.rawType;
    if (log_.GetCount() == problems) {
      CheckTag(tag, [this](tag_field_t, std::string_view fault) { Complain(element_, fault); });
    }
    tag.isRefused = log_.GetCount() != problems;
    return tag;
  }

  void Complain(void* element, std::string_view text) {
    log_.Add(fileName_, text_position_t{document_.GetLine(element), 1}, text);
  }

 private:
  template <class Reader>
  void ReadPart(const char16_t* name, Reader read) {
    void* const part = document_.GetElementByName(element_, nullptr, name, false);
    if (part == nullptr) return;
    read(part);
    document_.ReleaseElement(part);
  }

  void ReadScaling(void* part, CScaling& scaling) {
    CString text;
    CScaling::SCALINGTYPE type = CScaling::NONE;
    if (document_.ReadElement(part, nullptr, u"Type", true, text) != nullptr && !ReadScalingType(text.Trim(), type)) {
      Complain(part, "Scaling: Type " + Quoted(text.ToUtf8()) + ": expected " + ExpectedScalingTypes());
    } else if (type != CScaling::NONE) {
      scaling.Load(&document_, part, nullptr);
    }
  }

  void ReadDeadband(void* part, CDeadband& deadband) {
    CString text;
    CDeadband::deadband_t type = CDeadband::NONE;
    if (document_.ReadElement(part, nullptr, u"DeadbandType", true, text) != nullptr &&
        !ReadDeadbandType(text.Trim(), type)) {
      Complain(part, "Deadband: DeadbandType " + Quoted(text.ToUtf8()) + ": expected " + ExpectedDeadbandTypes());
    } else if (deadband.Load(&document_, part, nullptr) == 0) {
      Complain(part, "Deadband: " + document_.GetLastErrorText().ToUtf8());
      document_.RemoveLastError();
    }
  }

  CXmlDocument& document_;
  void* element_;
  std::string_view fileName_;
  CProblemLog& log_;
};

template <class Setting>
bool WritePart(CXmlDocument& document, void* element, const char16_t* name, const Setting& setting) {
  void* const part = document.WriteElement(element, nullptr, name, false, u"");
  const bool good = part != nullptr && setting.Save(&document, part, nullptr) != 0;
  document.ReleaseElement(part);
  return good;
}

bool WriteTag(CXmlDocument& document, void* top, const tag_t& tag) {
  void* const element = document.WriteElement(top, nullptr, u"Tag", false, u"");
  const bool good = element != nullptr && document.WriteElement(element, nullptr, u"Name", true, CString(tag.name)) &&
                    document.WriteElement(element, nullptr, u"RawType", true, CDataType::TextFromType(tag.rawType)) &&
                    document.WriteElement(element, nullptr, u"Unit", true, CString(tag.unit)) &&
                    (!tag.isScaled || WritePart(document, element, u"Scaling", tag.scaling)) &&
                    (!tag.deadband.IsDeadband() || WritePart(document, element, u"Deadband", tag.deadband));
  document.ReleaseElement(element);
  return good;
}

}  // namespace

bool CTagList::ReadXml(const std::string& path, CProblemLog& log) {
  CXmlDocument document;
  if (document.Load(CString(path)) == 0) {
    log.Add(document.GetLastErrorText().ToUtf8());
    return false;
  }
  for (void* element = document.FindFirstChild(nullptr, false); element != nullptr;
       element = document.FindNext(element, true)) {
    CTagElement reader(document, element, path, log);
    CString name;
    if (document.GetName(element, name) == 0 || name != u"Tag") {
      reader.Complain(element, "element " + Quoted(name.ToUtf8()) + ": expected Tag");
      continue;
    }
    tag_t tag = reader.Read();
    if (tag.name.empty()) continue;
    const std::string problem = Add(std::move(tag));
    if (!problem.empty()) reader.Complain(element, problem);
  }
  return true;
}

void CTagList::WriteXml(const std::string& path, CProblemLog& log) const {
  CXmlDocument document;
  void* const top = document.WriteElement(nullptr, nullptr, u"Tags", false, u"");
  bool good = top != nullptr;
  for (const tag_t& tag : tags_) {
    if (!good) break;
    if (tag.isRefused) continue;
    if (tag.isScaled && tag.scaling.GetScalingType() == CScaling::NONE) {
      log.Add(path + ": tag " + Quoted(tag.name) +
              ": clamps, negation and another type without scaling have no place in a document");
    }
    good = WriteTag(document, top, tag);
  }
  document.ReleaseElement(top);
  if (!good || document.Save(CString(path)) == 0) {
    throw std::runtime_error(document.GetLastErrorText().ToUtf8());
  }
}

}  // namespace replay
