// Objects of the tree as JSON values, and back: the JSON form of projects, and what patches and tools address.
//
//   {"Type": "Tag", "Description": "flow", "Address": "40001", "ScanRate": 100, "Children": {"FT101": {...}}}
//
// An object is a JSON object: "Type" first, always; "Description" when there is one; a member for each field, by its
// name; a member for each table that has records, an object with a member for each record, whose name is the record's.
// So a JSON pointer reads "/Channels/Boiler/Devices/PLC1/Tags/FT101/ScanRate", and renaming is a move.
//
// Fields: truth values, numbers and texts as such. A real that is no number is the text "NaN", "INF" or "-INF". A
// variant (field_kind_t::VALUE) is null, a truth value, a number or a text when reading that gives the same variant
// back, else a text as FieldToText writes it in an object {"Variant": "I2:5"}. A password is its encrypted text.
//
// Reading takes fields that are missing as the constructor's; integers as reals; reals without fraction as integers.
// Everything else is an error: members that are no field or table of the type, or that stand there twice (names are
// compared exactly), values of another kind or out of range, types that are not known or that the table does not take,
// names that are not valid or taken. Records keep the order that their table gives them.
//
// Functions without state. The objects' locks are the caller's to take.
#pragma once

#include <memory>

#include "platform/export.h"
#include "util/json/object.h"
#include "util/objects/described_object.h"
#include "util/project/project_file.h"

namespace zorutil::project {

/// The value of a field; never empty.
ZORUTIL_API std::shared_ptr<json::IValue> FieldToJson(const CTableObj& object, const field_t& field);
/// Takes a JSON value for a field. Otherwise the message says why, with the field's name.
ZORUTIL_API std::unique_ptr<i18n::ILocalizedMessage> FieldFromJson(const field_t& field,
                                                                   const std::shared_ptr<json::IValue>& from,
                                                                   field_value_t& out);

/// The object with all that is below it, or alone. i18n::message_exception_t with the path of an object that is not
/// described.
ZORUTIL_API json::object_t ObjectToJson(const CTableObj& object, bool withChildren = true);
/// A new object of that name, in no table, with its children. What is wrong is told to the report, with the lines of
/// the members and with paths that begin with what the report has entered, and left out; null when the object itself
/// cannot be made: its type or its name are not good. The caller looks at the report.
ZORUTIL_API owned_obj_ptr ObjectFromJson(const CString& name, const std::shared_ptr<json::IValue>& from, int line,
                                         load_report_t& report);

}  // namespace zorutil::project
