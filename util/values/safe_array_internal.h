// What the library's own code may do to a CSafeArray beyond its public face.
#pragma once

#include <memory>

#include "util/values/safe_array.h"

struct destroy_array_t {
  void operator()(CSafeArray* array) const { array->Destroy(); }
};
using array_owner_t = std::unique_ptr<CSafeArray, destroy_array_t>;

struct safe_array_access_t {
  /// The shape of rows and columns without data; for 2^32 - 1 elements at most.
  static array_owner_t MakeShape(std::uint32_t rows, std::uint32_t columns, VARTYPE element) {
    array_owner_t array(new CSafeArray(no_data_t{}));
    array->_Shape(rows, columns, element);
    return array;
  }
  /// The same with zeroed data, or with unset data for elements that own nothing and are all written at once.
  static array_owner_t Make(std::uint32_t rows, std::uint32_t columns, VARTYPE element, bool zeroed) {
    array_owner_t array = MakeShape(rows, columns, element);
    array->_Alloc(zeroed || array->_OwnsElements());
    return array;
  }
  static void Alloc(CSafeArray& array) { array._Alloc(true); }
  static void Swap(CSafeArray& a, CSafeArray& b) noexcept { a._Swap(b); }

 private:
  using no_data_t = CSafeArray::no_data_t;
};
