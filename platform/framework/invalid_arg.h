// The framework's exception for an argument that cannot be meant, such as an index outside a list.
#pragma once

#include <stdexcept>

#include "platform/export.h"

class ZORPLATFORM_API CInvalidArgException : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
  ~CInvalidArgException() override;
};
