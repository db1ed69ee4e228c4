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

  /// A text with a character that the document cannot hold: the name of the element or attribute, the character.
  IDS_DOCUMENT_CHARACTER = 630,

  // 600 to 649: documents (util/docs). 650 to 699: programs' own.
};

}  // namespace i18n
