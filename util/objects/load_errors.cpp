#include "util/objects/load_errors.h"

namespace zorutil {

namespace {
thread_local ILoadErrors* current = nullptr;
}

ILoadErrors::~ILoadErrors() = default;

ILoadErrors* ILoadErrors::GetCurrent() noexcept { return current; }

CLoadErrorScope::CLoadErrorScope(ILoadErrors* errors) noexcept : earlier_(current) { current = errors; }

CLoadErrorScope::~CLoadErrorScope() { current = earlier_; }

}  // namespace zorutil
