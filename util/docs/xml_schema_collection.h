// XML schemas (XSD) registered by namespace, against which documents are checked.
//
//   CXmlSchemaCollection schemas;
//   if (schemas.Add(u"urn:plant", u"\\usr\\share\\plant\\plant.xsd") == 0) Report(schemas.GetLastErrorText());
//   std::vector<CXmlSchemaCollection::fault_t> faults;
//   if (schemas.Validate(document, faults) == 0)
//     for (const auto& fault : faults) Report(fault.line, fault.element, fault.text);
//
// A namespace has one file, which may include others; adding it again replaces it, and null or empty is no namespace.
// Imports among registered namespaces are served by the collection, in whatever order they were added and whatever
// location they name; other includes and imports are files, looked for from the folder of the file that names them.
// Nothing is fetched: a location on the network that no registered schema stands for is an error. The schema files are
// read under the rules of documents (no document type definitions, the limits of CXmlDocument).
//
// A resource: neither copied nor moved. Any number of threads may call Validate at once, each with its own document;
// Add and Remove are called while nobody validates.
#pragma once

#include <memory>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"

class CXmlDocument;
namespace i18n {
class ILocalizedMessage;
}

class ZORUTIL_API CXmlSchemaCollection {
 public:
  /// A place where a document does not follow the schemas.
  struct fault_t {
    int line;         ///< where the element begins in the text that was loaded; 0 for one that was written since
    CString element;  ///< the path of the element: "/Plant/Pump[2]/Speed"
    CString text;     ///< what is wrong, in English
  };

  CXmlSchemaCollection();
  CXmlSchemaCollection(const CXmlSchemaCollection&) = delete;
  CXmlSchemaCollection& operator=(const CXmlSchemaCollection&) = delete;
  ~CXmlSchemaCollection();

  /// 1; or 0, with the cause for GetLastError, and the collection as it was: the file cannot be read, is no XML, or is
  /// of another namespace. Whether it is a valid schema is only known together with the others: see Compile.
  int Add(const char16_t* ns, const char16_t* path);
  /// 1, or 0 when there is none for that namespace.
  int Remove(const char16_t* ns);
  /// How many schemas were added, each for a namespace of its own.
  int GetCount() const;

  /// Reads all schemas together, which Validate otherwise does at its first call. 1; or 0 with the cause for
  /// GetLastError, which names the file and the line. Without a schema nothing is valid.
  int Compile();

  /// 1 when the document follows the schemas. 0 with every deviation in `faults`, in the order of the document. Other
  /// failures (an empty document, schemas that do not compile) are a single fault with line 0 and no element.
  int Validate(const CXmlDocument& document, std::vector<fault_t>& faults) const;

  /// Why the last Add or Compile failed, handed over; null after a success.
  std::unique_ptr<i18n::ILocalizedMessage> RemoveLastError();
  /// The same as a text in the product's language; empty after a success. The message stays.
  CString GetLastErrorText() const;

 private:
  struct state_t;
  std::unique_ptr<state_t> state_;
};
