// Passwords as they stand in property values, projects and files: encrypted, and told from plain text by their form.
//
//   CString stored = EncryptPassword(u"secret");       // "$zpw$EA..."
//   CString back;
//   if (DecryptPassword(stored, back)) Login(back);
//   WipeText(back);
//
// What it protects against depends on the key:
//
// - The built-in key is the same in every copy of this library, and stands in its source. It keeps a password from the
//   eyes of whoever sees a project, a log or a support archive. It protects from nobody who has this library at hand
//   and wants the password.
// - The product's own key (SetPasswordKey) protects as well as the product keeps it from those who can read the files.
//
// With either key: equal passwords have equal encrypted texts, so that a comparison needs no key and tells who shares
// one; the length of the text tells that of the password; no digest of the password can be guessed against without the
// key. Decoding proves that whoever wrote the text had the key: a changed, cut or foreign one is refused. But because
// plain text is accepted in password properties as well, that does not keep anybody who may write there from putting
// in a password of his own.
//
// Memory: the buffers in which these functions hold plain text and keys are wiped before they are given back. Texts
// that they take and return are the caller's to wipe.
//
// The form: the prefix, then in base64 with padding
//
//   1 byte    0x10, and the key in the low four bits: 0 the built-in one, 1 the product's own
//   16 bytes  the initial counter: the first half of HMAC-SHA256(key, MD5(text))
//   n bytes   the text in UTF-8, through AES-256 in counter mode
//
// Only texts of one MD5 digest share a counter, and with it what hides them: who chooses two such passwords learns of
// their encrypted forms what he chose.
//
// Any number of threads may call these functions at once, on texts of their own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/export.h"
#include "platform/framework/cstring.h"

namespace zorutil::properties {

/// The formats are told apart by their prefix.
enum password_format_t : int {
  PASSWORD_CURRENT = 0,  ///< "$zpw$": AES-256 with a proof of the key
  /// "$zpo$": masked by a fixed pattern and a check sum, without a key. Read for the sake of older files, and written
  /// only for programs that read nothing else.
  PASSWORD_OLDER = 1,
};

/// Never empty, plain ASCII. Malformed UTF-16 becomes U+FFFD, and comes back as such; NULs are kept. A text that is
/// already encrypted is encrypted once more. std::length_error for a text whose encrypted form would exceed
/// CString::kMaxLength; std::runtime_error when the cryptographic library refuses, as where policy forbids MD5.
ZORUTIL_API CString EncryptPassword(const CString& plainText, password_format_t format = PASSWORD_CURRENT);

/// True when the text is in one of the formats and proves to be written with a key that is known here: `plainText` is
/// then replaced. Otherwise `plainText` stays as it was. Throws as EncryptPassword. The two may be one object.
ZORUTIL_API bool DecryptPassword(const CString& text, CString& plainText);

/// Bytes of a key: 256 bits.
inline constexpr std::size_t kPasswordKeySize = 32;

/// Encrypts with the product's own key from now on, in the whole process; an empty `key` goes back to the built-in one.
/// Every encrypted text says which of the two it was written with: texts of the built-in key stay readable, so that a
/// product can introduce a key at any time and re-encrypt what it meets; those of an earlier own key are no longer
/// read and must be re-encrypted before. `key` is kPasswordKeySize bytes without pattern, such as from a random
/// generator, not a pass phrase; CInvalidArgException for any other length. It is copied; the caller wipes what it
/// passed.
ZORUTIL_API void SetPasswordKey(std::span<const std::uint8_t> key);

/// Empties a text and overwrites the memory it had, unless a copy still shares it: then that copy is left whole.
ZORUTIL_API void WipeText(CString& text) noexcept;

}  // namespace zorutil::properties
