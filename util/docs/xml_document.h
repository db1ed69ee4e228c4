// The XML document: a structured document over a file or a text of XML.
//
//   CXmlDocument document;
//   void* const plant = document.WriteElement(nullptr, u"urn:plant", u"Plant", false, u"");    // the top element
//   document.WriteElement(plant, u"urn:plant", u"Speed", true, 1500);
//   document.ReleaseElement(plant);
//   if (document.Save(u"\\etc\\plant.xml") == 0) Report(document.GetLastErrorText());
//
// The flag of the operations:
//   In those that write or read an element by name, true releases the element at once. The handle returned then only
//   tells success: it is neither used nor released. With false it belongs to the caller, who gives it back with
//   ReleaseElement.
//   In those that go from one element to another (GetElementByName from `parent`, GetNextElementByName, FindFirstChild,
//   FindNext) true releases the handle passed in, whatever the result. So a loop needs no ReleaseElement:
//
//     for (void* pump = document.GetElementByName(plant, ns, u"Pump", false); pump != nullptr;
//          pump = document.GetNextElementByName(pump, true)) LoadPump(document, pump);
//
// Null for a parent is the top element. GetElementByName with a null parent gives the top element itself, whatever
// namespace and name are asked for: it is the way in. Writing with a null parent makes the top element in an empty
// document, and a child of the top element in any other.
//
// Elements. Writing never replaces: it appends a child behind those that are there, so that elements keep the order in
// which they were written, and many may have one name. Reading by name takes the first. A namespace is matched by its
// text, whatever the prefix; a new element uses the declaration that is in force, and declares its namespace as the
// default one when there is none. Attributes are named as they are written: "unit", or "prefix:unit" with a prefix that
// is declared where the element stands ("xml" always is).
//
// Text. The text of an element is that of its own text and CDATA sections, without its children's. Every character
// survives save and load, white space and carriage returns included, but for one rule: white space alone beside child
// elements or comments is layout and no text, unless xml:space="preserve" or a CDATA section says otherwise. SetText
// replaces the text and keeps the children, in front of which the new text stands; WriteLiteralText does so with a
// CDATA section, which keeps markup readable in the file; ReadLiteralText gives the text with its layout. A null text
// is an empty one.
//
// What XML cannot hold is refused, with a message in the error slot and nothing written: names that are none, control
// characters other than tab, line feed and carriage return, unpaired surrogates, U+FFFE, U+FFFF, and elements deeper
// than kMaxDepth.
//
// Files are saved as UTF-8 with an XML declaration, a line for each element, two spaces a level. Comments and
// processing instructions are kept, blank lines between elements are not. Saving is atomic: see
// zorplatform::CReplaceFile.
//
// What is loaded may be UTF-8, UTF-16 or an encoding that extends ASCII and that libxml2 knows by its name. It is taken
// whole or not at all: after a failure the document is what it was, the result is 0, and the error slot names the file,
// the line, the column and the cause. A document type definition is refused, so no entity but the five of XML is known;
// nothing is fetched. The limits are kMaxDepth, kMaxAttributes and kMaxBytes; a single text may be as long as the file.
//
// Handles stay valid until they are released, whatever is written, and also when another document is loaded meanwhile:
// they then belong to the old one, which lives until the last of them is released. They end with the document object at
// the latest. Releasing a handle twice is a caller's mistake.
//
// A resource: neither copied nor moved. One thread at a time uses a document; different documents know nothing of each
// other. std::bad_alloc when memory is short.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/docs/structured_doc.h"

class CFile;

class ZORUTIL_API CXmlDocument : public CStructuredDoc {
 public:
  static constexpr int kMaxDepth = 256;  ///< levels of elements, the top one included
  /// Of one element, namespace declarations included; and how many such declarations may be in force at once.
  static constexpr int kMaxAttributes = 1024;
  static constexpr unsigned kMaxBytes = 1U << 30;  ///< of what is loaded

  /// Empty: no top element.
  CXmlDocument();
  ~CXmlDocument() override;

  /// 1 when there is a top element.
  int IsValid() const override;
  int Load(const char16_t* path) override;
  /// An empty document is not saved.
  int Save(const char16_t* path) override;
  int GetNumElementsByName(void* parent, const char16_t* ns, const char16_t* name) override;
  void* GetElementByName(void* parent, const char16_t* ns, const char16_t* name, bool flag) override;
  void* GetNextElementByName(void* element, bool flag) override;
  int GetName(void* element, CString& name) override;
  int GetText(void* element, CString& text) override;
  int SetText(void* element, const char16_t* text) override;
  void* FindFirstChild(void* element, bool flag) override;
  void* FindNext(void* element, bool flag) override;
  void ReleaseElement(void* element) override;
  bool WriteLiteralText(void* element, const char16_t* text) override;
  bool ReadLiteralText(void* element, CString& text) override;

 protected:
  void* WriteElementString(void* parent, const char16_t* ns, const char16_t* name, bool flag,
                           const char16_t* value) override;
  void* ReadElementString(void* parent, const char16_t* ns, const char16_t* name, bool flag, CString& value) override;
  int ReadAttributeString(void* element, const char16_t* name, CString& value) override;
  /// Replaces the attribute where it stands, or appends it.
  int WriteAttributeString(void* element, const char16_t* name, const char16_t* value) override;

 public:
  /// Takes a text of XML in place of the present content, as Load does. The encoding it declares is ignored.
  virtual int SetXml(const char16_t* text);

  /// The line from 1 in which the start tag of a loaded element ends; 0 for one that was written since.
  std::uint32_t GetLine(void* element) const;
  /// The text that Save writes; empty for an empty document.
  CString GetXml() const;
  /// Load from the position of an open file to its end, Save to it. CFileException passes through; a failed write may
  /// have left a part.
  /// @{
  int LoadFrom(CFile& file);
  int SaveTo(CFile& file);
  /// @}

 private:
  friend class CXmlSchemaCollection;
  const void* GetTree() const;  // as the library beneath knows it
  struct state_t;
  std::unique_ptr<state_t> state_;
};
