// Whole projects: a tree of objects in a file, and back.
//
//   zorutil::project::load_report_t report;
//   zorutil::owned_obj_ptr plant = zorutil::project::LoadProject(u"\\srv\\plant.json", report);
//   if (plant == nullptr) return Show(report.ToString());
//   ...
//   zorutil::project::SaveProject(*plant, u"\\srv\\plant.bin", zorutil::project::form_t::BINARY);
//
// Three forms of one content (form_t). All of them come from the descriptions of the types (type_description.h), so
// that a project can go from any form to any other and back and stay equal, order, descriptions and all. What a form
// cannot hold is refused when it is saved, never dropped.
//
// The binary form, little-endian: the 8 bytes 89 5A 50 4A 0D 0A 1A 0A, the format number (2 bytes, 1), 2 bytes of 0,
// the record of the root (CTableObj::Save) with everything below it, and the 4 bytes "ZEND". The XML form: the element
// of the root. The JSON form: an object with one member, whose name is the root's; json_mapping.h tells the rest.
//
// Loading reads types that are registered (RegisterType). It either gives the whole tree or none, and tells in a report
// what was wrong: XML and JSON all errors with line and path, a binary project the first with its path. Errors of the
// system (a file that cannot be read) are in the report too. When the tree is complete, OnLoadComplete of the root is
// called, which passes it on; nothing in a tree that was just loaded is marked as modified.
//
// Saving takes the locks of the tables on its way down, one branch at a time, so that other threads may change the tree
// meanwhile by the rules of CTable. The file is replaced whole (replace_file.h): whatever fails, the old one stands.
//
// std::bad_alloc passes through everywhere, and so does what factories, setters and hooks throw of their own: the tree
// that was being made is freed, the tree that was being saved is as it was. Functions without state; different trees
// may be loaded and saved on different threads, but for the rule that CTableObj has about its serialization scopes.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/objects/object_ref.h"
#include "util/project/load_report.h"

class CFile;

namespace zorutil::project {

/// The forms of a project. The numbers never change.
enum class form_t : int { BINARY = 0, XML = 1, JSON = 2 };

/// "bin", "xml", "json": what files of the form are called, and how command lines name it.
ZORUTIL_API const char16_t* FormName(form_t form) noexcept;
/// By that name, letter case aside; also by the end of a file name, such as "plant.XML".
ZORUTIL_API std::optional<form_t> FormFromName(const CString& nameOrPath);
/// By the first bytes of a content: those of the binary form; a text that begins with "<" (or is UTF-16), with "{".
/// White space and a byte order mark before it do not count.
ZORUTIL_API std::optional<form_t> FormOf(std::span<const std::byte> content) noexcept;

/// How a project is read.
struct load_options_t {
  /// Told from the content when it is not given.
  std::optional<form_t> form = std::nullopt;
  /// Of XML and JSON: gives the tree in spite of errors, without what was wrong, when at least the root could be made.
  bool isLenient = false;
};

/// Null, and why in the report, when anything is wrong. `report` is started anew.
ZORUTIL_API owned_obj_ptr LoadProject(const CString& path, load_report_t& report, const load_options_t& options = {});
/// The same from memory.
ZORUTIL_API owned_obj_ptr LoadProject(std::span<const std::byte> content, load_report_t& report,
                                      const load_options_t& options = {});

/// Without error, the file holds the project and neither the root nor anything below it is marked as modified. Errors:
/// an object that is not described, for XML and JSON; one whose OnSave fails; a text that the form cannot hold; a
/// tree of more than 128 levels (JSON: 64); XML of more than 1 GiB, which could not be loaded.
/// i18n::message_exception_t that says where. CFileException when the file cannot be written. After any exception the
/// root is marked as modified if it was before; marks below it may be gone.
ZORUTIL_API void SaveProject(const CTableObj& root, const CString& path, form_t form);
/// The same content into an open file at its position, or as bytes. Binary and XML take the marks away, as
/// CTableObj::Save does, JSON leaves them.
ZORUTIL_API void WriteProject(const CTableObj& root, CFile& file, form_t form);
ZORUTIL_API std::vector<std::byte> WriteProject(const CTableObj& root, form_t form);

/// Whether two trees hold the same: type, name, description, every field (AreSame of field_value.h), and the same
/// children in the same order; of types that are not described the properties. Nobody changes the trees meanwhile.
ZORUTIL_API bool AreTreesEqual(const CTableObj& a, const CTableObj& b);

}  // namespace zorutil::project
