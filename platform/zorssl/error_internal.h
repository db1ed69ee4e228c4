// How a refusal of the cryptographic library becomes an exception.
#pragma once

namespace zorssl {

/// std::bad_alloc when memory was short, else std::runtime_error with what was refused and the library's own reason.
/// The library's queue of errors is empty afterwards.
[[noreturn]] void ThrowError(const char* what);

}  // namespace zorssl
