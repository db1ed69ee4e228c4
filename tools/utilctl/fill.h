// Filling templates with what the user gave.
#pragma once

#include "platform/zorplatform/exception.h"
#include "tools/utilctl/report.h"

namespace utilctl {

/// What `fill` gives. That it asks for more arguments than there are is a wrong call, with the library's own words.
template <class Function>
auto Fill(Function fill) {
  try {
    return fill();
  } catch (const zorplatform::CException& error) {
    if (error.GetCode() != zorplatform::CException::kEndOfStream) throw;
    throw usage_error_t(error.what());
  }
}

}  // namespace utilctl
