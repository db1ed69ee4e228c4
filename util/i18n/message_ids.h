// The numbers of this library's texts. The texts stand in lang/libutil.<language>.lang; English is built in.
//
//   if (message->GetMessageId() == i18n::IDS_LOW_RANGE_ABOVE_HIGH) ...
//
// Programs, plug-ins and stored messages know these numbers: they never change, and none is used twice. A new one is a
// row here and a line in every language file; a test fails until it is.
#pragma once

/// X(name, number, arguments): of the arguments that the text takes, in order, the kind of each: `s` text, `d` integer,
/// `f` real, `c` character.
/// 600 to 649: documents (util/docs). 650 to 699: programs' own.
#define ZORUTIL_MESSAGE_IDS(X)                                                                              \
  /* The names of the ways to scale. */                                                                     \
  X(IDS_SCALING_NONE, 500, "")                                                                              \
  X(IDS_SCALING_LINEAR, 501, "")                                                                            \
  X(IDS_SCALING_SQUARE_ROOT, 502, "")                                                                       \
  /* The name of an object that cannot be made valid: the name. */                                          \
  X(IDS_OBJECT_NAME_NOT_VALID, 504, "s")                                                                    \
  /* A deadband or another range whose low end lies above its high end. */                                  \
  X(IDS_LOW_RANGE_ABOVE_HIGH, 505, "")                                                                      \
  /* A property's value outside its limits: the smallest and the largest value, as text. */                 \
  X(IDS_VALUE_OUT_OF_RANGE, 508, "ss")                                                                      \
  X(IDS_VALUE_NOT_IN_ENUMERATION, 524, "")                                                                  \
  X(IDS_VALUE_OF_WRONG_TYPE, 527, "")                                                                       \
  /* The two states of a boolean property. */                                                               \
  X(IDS_YES, 528, "")                                                                                       \
  X(IDS_NO, 529, "")                                                                                        \
  X(IDS_ENABLE, 530, "")                                                                                    \
  X(IDS_DISABLE, 531, "")                                                                                   \
  X(IDS_ALLOW, 534, "")                                                                                     \
  X(IDS_DENY, 535, "")                                                                                      \
  X(IDS_TIME_OF_DAY_NOT_VALID, 536, "")                                                                     \
  X(IDS_DATE_NOT_VALID, 537, "")                                                                            \
  X(IDS_DATE_AND_TIME_NOT_VALID, 538, "")                                                                   \
  /* A text with fewer or more characters than this number. */                                              \
  X(IDS_TEXT_TOO_SHORT, 539, "d")                                                                           \
  X(IDS_TEXT_TOO_LONG, 540, "d")                                                                            \
  /* A condition of the property leads back to itself. */                                                   \
  X(IDS_CONDITIONS_IN_CIRCLE, 541, "")                                                                      \
  /* An object in a document that did not say why: its type. */                                             \
  X(IDS_OBJECT_NOT_READ, 543, "s")                                                                          \
  /* The place of an error in a file. */                                                                    \
  X(IDS_LINE, 544, "d")                                                                                     \
  X(IDS_COLUMN, 545, "d")                                                                                   \
  /* An object cannot be written into a document, for its type has no name: type, subtype. */               \
  X(IDS_OBJECT_TYPE_WITHOUT_NAME, 550, "dd")                                                                \
  /* Projects. A setting whose value is of another kind, out of range, refused: its name. */                \
  X(IDS_SETTING_TYPE, 560, "s")                                                                             \
  X(IDS_SETTING_RANGE, 561, "sss")                                                                          \
  X(IDS_SETTING_REFUSED, 562, "s")                                                                          \
  /* Neither a setting nor a table: the type of the object, the name. */                                    \
  X(IDS_SETTING_UNKNOWN, 563, "ss")                                                                         \
  X(IDS_SETTING_TWICE, 564, "s")                                                                            \
  X(IDS_TYPE_UNKNOWN, 565, "s")                                                                             \
  /* The type, the table. */                                                                                \
  X(IDS_TYPE_NOT_TAKEN, 566, "ss")                                                                          \
  X(IDS_TYPE_MISSING, 567, "")                                                                              \
  X(IDS_TYPE_NOT_DESCRIBED, 568, "s")                                                                       \
  X(IDS_OBJECT_NAME_TAKEN, 569, "s")                                                                        \
  X(IDS_OBJECT_NAME_MISSING, 570, "")                                                                       \
  /* A value where an object or a table of them belongs. */                                                 \
  X(IDS_OBJECT_EXPECTED, 571, "")                                                                           \
  X(IDS_PROJECT_NEWER, 572, "")                                                                             \
  X(IDS_PROJECT_CUT, 573, "")                                                                               \
  X(IDS_PROJECT_FORM, 574, "")                                                                              \
  /* A damaged binary project: what was being read. */                                                      \
  X(IDS_PROJECT_DAMAGED, 575, "s")                                                                          \
  X(IDS_PROJECT_ONE_ROOT, 576, "")                                                                          \
  /* More errors than are listed: how many more. */                                                         \
  X(IDS_PROJECT_MORE_ERRORS, 577, "d")                                                                      \
  /* An object that cannot be saved: its path, why. */                                                      \
  X(IDS_OBJECT_NOT_SAVED, 578, "ss")                                                                        \
  /* What a text reader or the system says. */                                                              \
  X(IDS_PROJECT_TEXT, 579, "s")                                                                             \
  /* Patches of trees, and the differences that they come from. */                                          \
  X(IDS_PATCH_NO_LIST, 580, "")                                                                             \
  X(IDS_PATCH_NO_OPERATION, 581, "")                                                                        \
  /* A member of an operation. */                                                                           \
  X(IDS_PATCH_MEMBER, 582, "s")                                                                             \
  X(IDS_PATCH_VALUE, 583, "")                                                                               \
  X(IDS_PATCH_UNKNOWN, 584, "s")                                                                            \
  X(IDS_PATCH_POINTER, 585, "s")                                                                            \
  X(IDS_PATCH_NO_OBJECT, 586, "s")                                                                          \
  /* A setting. */                                                                                          \
  X(IDS_PATCH_INSIDE, 587, "s")                                                                             \
  X(IDS_PATCH_TEST, 588, "")                                                                                \
  X(IDS_PATCH_ROOT, 589, "")                                                                                \
  X(IDS_PATCH_INTO_ITSELF, 590, "")                                                                         \
  /* A setting. */                                                                                          \
  X(IDS_PATCH_FIXED, 591, "s")                                                                              \
  /* The limit. */                                                                                          \
  X(IDS_PATCH_COPIES, 592, "d")                                                                             \
  X(IDS_PATCH_DEPTH, 593, "")                                                                               \
  /* Before the error of an operation: its number, its path, the error. */                                  \
  X(IDS_PATCH_OPERATION_AT, 594, "dss")                                                                     \
  X(IDS_PATCH_OPERATION, 595, "ds")                                                                         \
  /* What an exception says. */                                                                             \
  X(IDS_PATCH_THREW, 596, "s")                                                                              \
  /* A path. */                                                                                             \
  X(IDS_DIFF_NO_POINTER, 597, "s")                                                                          \
  /* Documents. Those up to 610 begin with file, line and column. Any other fault: what the parser says. */ \
  X(IDS_XML_FAULT, 600, "sdds")                                                                             \
  /* The element that is open, its line, the name that closes it. */                                        \
  X(IDS_XML_MISMATCHED_TAG, 601, "sddsds")                                                                  \
  X(IDS_XML_PREMATURE_END, 602, "sdd")                                                                      \
  X(IDS_XML_TYPE_DEFINITION, 603, "sdd")                                                                    \
  /* The limit. */                                                                                          \
  X(IDS_XML_TOO_DEEP, 604, "sddd")                                                                          \
  X(IDS_XML_UNKNOWN_ENTITY, 605, "sdds")                                                                    \
  X(IDS_XML_DUPLICATE_ATTRIBUTE, 606, "sdds")                                                               \
  X(IDS_XML_CHARACTER, 607, "sdd")                                                                          \
  X(IDS_XML_ENCODING, 608, "sdd")                                                                           \
  /* The limit. */                                                                                          \
  X(IDS_XML_TOO_MANY_ATTRIBUTES, 609, "sddd")                                                               \
  X(IDS_XML_UNKNOWN_PREFIX, 610, "sdds")                                                                    \
  /* The file. */                                                                                           \
  X(IDS_XML_EMPTY, 611, "s")                                                                                \
  /* The file, the limit in bytes. */                                                                       \
  X(IDS_XML_TOO_LARGE, 612, "sd")                                                                           \
  /* A file that cannot be read or written: what failed. */                                                 \
  X(IDS_DOCUMENT_FILE, 620, "s")                                                                            \
  /* A document without content is not saved: the file. */                                                  \
  X(IDS_DOCUMENT_EMPTY, 621, "s")                                                                           \
  /* A text with a character that no document holds: the element or attribute, the character. */            \
  X(IDS_DOCUMENT_CHARACTER, 630, "ss")                                                                      \
  /* A text that is no name of an element, attribute or namespace. */                                       \
  X(IDS_DOCUMENT_NAME, 631, "s")                                                                            \
  /* An element that would lie too deep: its name, the limit. */                                            \
  X(IDS_DOCUMENT_DEPTH, 632, "sd")                                                                          \
  /* A fault of a schema: the file, the line, what is wrong. */                                             \
  X(IDS_SCHEMA_FAULT, 640, "sds")                                                                           \
  /* A schema registered for another namespace than its own: the file, its own, the other. */               \
  X(IDS_SCHEMA_NAMESPACE, 641, "sss")                                                                       \
  /* A schema that would have to be fetched: the file that names it, its location. */                       \
  X(IDS_SCHEMA_REMOTE, 642, "ss")

namespace i18n {

/// One enumerator of a row.
#define ZORUTIL_ENUMERATOR(name, number, arguments) name = number,
/// The numbers, as documented with each row above.
enum message_id_t : unsigned { ZORUTIL_MESSAGE_IDS(ZORUTIL_ENUMERATOR) };
#undef ZORUTIL_ENUMERATOR

/// What is known of a text without its template.
struct message_id_row_t {
  unsigned id;            ///< as in message_id_t
  const char* name;       ///< "IDS_LOW_RANGE_ABOVE_HIGH"
  const char* arguments;  ///< the kinds of its arguments, in order: see ZORUTIL_MESSAGE_IDS
};
/// One element of kMessageIds.
#define ZORUTIL_ROW(name, number, arguments) {number, #name, arguments},
/// Every number once, in rising order.
inline constexpr message_id_row_t kMessageIds[] = {ZORUTIL_MESSAGE_IDS(ZORUTIL_ROW)};
#undef ZORUTIL_ROW

}  // namespace i18n
