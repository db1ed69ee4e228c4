// XML of any bytes: what loads can be walked, saves, and loads again to the same text; what does not load says why and
// leaves the document alone.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

#include "platform/framework/mem_file.h"
#include "platform/text/utf.h"
#include "util/docs/xml_document.h"
#include "util/i18n/localized_message.h"

namespace {

void Require(bool claim) {
  if (!claim) std::abort();
}

void Walk(CXmlDocument& document, void* element, int depth) {
  Require(depth <= CXmlDocument::kMaxDepth);
  CString name, text, literal;
  Require(document.GetName(element, name) == 1 && !name.IsEmpty());
  Require(document.GetText(element, text) == 1 && document.ReadLiteralText(element, literal));
  Require(text.IsEmpty() || text == literal);
  int number = 0;
  double real = 0;
  bool truth = false;
  document.ReadElement(element, nullptr, name, true, number);
  document.ReadElement(element, u"u", name, true, real);
  document.ReadAttribute(element, u"a", truth);
  document.ReadAttribute(element, u"p:a", number);
  for (void* child = document.FindFirstChild(element, false); child != nullptr;
       child = document.FindNext(child, true)) {
    Walk(document, child, depth + 1);
  }
  document.ReleaseElement(document.GetNextElementByName(element, false));
}

void Check(CXmlDocument& document, int loaded) {
  if (loaded == 0) {
    Require(!document.GetLastErrorText().IsEmpty());
    Require(document.IsValid() == 0);
    return;
  }
  void* const top = document.GetElementByName(nullptr, u"", u"", false);
  Require(top != nullptr);
  Walk(document, top, 1);

  const CString saved = document.GetXml();
  CXmlDocument again;
  Require(again.SetXml(saved) == 1);
  Require(again.GetXml() == saved);
  CMemFile file;
  Require(document.SaveTo(file) == 1);
  file.SeekToBegin();
  Require(again.LoadFrom(file) == 1);
  Require(again.GetXml() == saved);

  // A text written into it comes back with the rest.
  CString text;
  Require(document.ReadLiteralText(top, text));
  Require(document.WriteElement(top, u"urn:new", u"New", true, text) != nullptr);
  Require(document.WriteAttribute(top, u"new", text) == 1);
  Require(again.SetXml(document.GetXml()) == 1);
  CString read;
  Require(again.ReadElement(nullptr, u"urn:new", u"New", true, read) != nullptr && !read.IsEmpty() == !text.IsEmpty());
  Require(again.ReadAttribute(again.GetElementByName(nullptr, u"", u"", false), u"new", read) == 1 && read == text);
  document.ReleaseElement(top);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CXmlDocument fromBytes;
  CMemFile file(std::as_bytes(std::span(data, size)));
  Check(fromBytes, fromBytes.LoadFrom(file));
  CXmlDocument fromText;
  const std::u16string text = utf::ToUtf16(std::string_view(reinterpret_cast<const char*>(data), size));
  Check(fromText, fromText.SetXml(text.c_str()));
  return 0;
}
