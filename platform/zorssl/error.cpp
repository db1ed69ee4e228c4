#include <openssl/err.h>

#include <new>
#include <stdexcept>
#include <string>

#include "platform/zorssl/error_internal.h"

namespace zorssl {

void ThrowError(const char* what) {
  const unsigned long error = ERR_peek_last_error();
  ERR_clear_error();
  if (ERR_GET_REASON(error) == ERR_R_MALLOC_FAILURE) throw std::bad_alloc();
  const char* const reason = ERR_reason_error_string(error);
  throw std::runtime_error(std::string(what) + " failed: " + (reason == nullptr ? "refused" : reason));
}

}  // namespace zorssl
