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
#define ZORUTIL_MESSAGE_IDS(X)                                                              \
  /* The names of the ways to scale. */                                                     \
  X(IDS_SCALING_NONE, 500, "")                                                              \
  X(IDS_SCALING_LINEAR, 501, "")                                                            \
  X(IDS_SCALING_SQUARE_ROOT, 502, "")                                                       \
  /* The name of an object that cannot be made valid: the name. */                          \
  X(IDS_OBJECT_NAME_NOT_VALID, 504, "s")                                                    \
  /* A deadband or another range whose low end lies above its high end. */                  \
  X(IDS_LOW_RANGE_ABOVE_HIGH, 505, "")                                                      \
  /* A property's value outside its limits: the smallest and the largest value, as text. */ \
  X(IDS_VALUE_OUT_OF_RANGE, 508, "ss")                                                      \
  X(IDS_VALUE_NOT_IN_ENUMERATION, 524, "")                                                  \
  X(IDS_VALUE_OF_WRONG_TYPE, 527, "")                                                       \
  /* The two states of a boolean property. */                                               \
  X(IDS_YES, 528, "")                                                                       \
  X(IDS_NO, 529, "")                                                                        \
  X(IDS_ENABLE, 530, "")                                                                    \
  X(IDS_DISABLE, 531, "")                                                                   \
  X(IDS_ALLOW, 534, "")                                                                     \
  X(IDS_DENY, 535, "")                                                                      \
  X(IDS_TIME_OF_DAY_NOT_VALID, 536, "")                                                     \
  X(IDS_DATE_NOT_VALID, 537, "")                                                            \
  X(IDS_DATE_AND_TIME_NOT_VALID, 538, "")                                                   \
  /* A text with fewer or more characters than this number. */                              \
  X(IDS_TEXT_TOO_SHORT, 539, "d")                                                           \
  X(IDS_TEXT_TOO_LONG, 540, "d")                                                            \
  /* A condition of the property leads back to itself. */                                   \
  X(IDS_CONDITIONS_IN_CIRCLE, 541, "")

namespace i18n {

#define ZORUTIL_ENUMERATOR(name, number, arguments) name = number,
enum message_id_t : unsigned { ZORUTIL_MESSAGE_IDS(ZORUTIL_ENUMERATOR) };
#undef ZORUTIL_ENUMERATOR

struct message_id_row_t {
  unsigned id;
  const char* name;
  const char* arguments;
};
/// Every number once, in rising order.
#define ZORUTIL_ROW(name, number, arguments) {number, #name, arguments},
inline constexpr message_id_row_t kMessageIds[] = {ZORUTIL_MESSAGE_IDS(ZORUTIL_ROW)};
#undef ZORUTIL_ROW

}  // namespace i18n
