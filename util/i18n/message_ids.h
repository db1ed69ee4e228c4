// The numbers of this library's texts. The texts stand in lang/libutil.<language>.lang; English is built in.
//
//   if (message->GetMessageId() == i18n::IDS_LOW_RANGE_ABOVE_HIGH) ...
//
// Programs, plug-ins and stored messages know these numbers: they never change, and none is used twice.
#pragma once

namespace i18n {

enum message_id_t : unsigned {
  IDS_SCALING_NONE = 500,
  IDS_SCALING_LINEAR = 501,
  IDS_SCALING_SQUARE_ROOT = 502,
  /// A deadband or another range whose low end lies above its high end. No arguments.
  IDS_LOW_RANGE_ABOVE_HIGH = 505,

  // Documents. All of 600 to 610 begin with the file, the line and the column.
  /// Any other fault: what the parser says.
  IDS_XML_FAULT = 600,
  /// The element that is open, its line, the name that closes it.
  IDS_XML_MISMATCHED_TAG = 601,
  IDS_XML_PREMATURE_END = 602,
  IDS_XML_TYPE_DEFINITION = 603,
  /// The limit.
  IDS_XML_TOO_DEEP = 604,
  /// The entity.
  IDS_XML_UNKNOWN_ENTITY = 605,
  /// The attribute.
  IDS_XML_DUPLICATE_ATTRIBUTE = 606,
  IDS_XML_CHARACTER = 607,
  IDS_XML_ENCODING = 608,
  /// The limit.
  IDS_XML_TOO_MANY_ATTRIBUTES = 609,
  /// The prefix.
  IDS_XML_UNKNOWN_PREFIX = 610,
  /// The file.
  IDS_XML_EMPTY = 611,
  /// The file, the limit in bytes.
  IDS_XML_TOO_LARGE = 612,
  /// A file that cannot be read or written: its name, the cause.
  IDS_DOCUMENT_FILE = 620,
  /// A document without content, which is not saved: the file.
  IDS_DOCUMENT_EMPTY = 621,
  /// A text with a character that the document cannot hold: the name of the element or attribute, the character.
  IDS_DOCUMENT_CHARACTER = 630,
  /// The text that is no name of an element, attribute or namespace.
  IDS_DOCUMENT_NAME = 631,
  /// An element that would lie too deep: its name, the limit.
  IDS_DOCUMENT_DEPTH = 632,
  /// A schema file: the file, the line, what is wrong with it.
  IDS_SCHEMA_FAULT = 640,
  /// A schema of another namespace than it was registered for: the file, its own, the one expected.
  IDS_SCHEMA_NAMESPACE = 641,
  /// A schema that would have to be fetched: the file that names it, the location.
  IDS_SCHEMA_REMOTE = 642,
  /// A document that does not follow its schema: the line (0: not known), the element, what is wrong.
  IDS_SCHEMA_VIOLATION = 643,

  // 600 to 649: documents (util/docs). 650 to 699: programs' own.
};

}  // namespace i18n
