// What the iterations of this folder call for each item.
//
//   std::vector<CString> names;
//   auto collect = MakeFunctor<std::shared_ptr<IPropertyDefinition>>([&](auto each) {
//     names.push_back(each->GetName());
//     return false;
//   });
//
// Runs on the thread that iterates, with no lock held. What it throws passes through the iteration.
#pragma once

#include <utility>

namespace zorutil::properties {

/// What is called for each item of an iteration.
template <class T>
class functor_t {
 public:
  virtual ~functor_t() = default;
  /// True: that was enough, the iteration ends here.
  virtual bool operator()(T item) = 0;
};

/// A functor over a callable of its own.
template <class T, class Call>
class functor_of_t final : public functor_t<T> {
 public:
  /// Keeps a copy of the callable.
  explicit functor_of_t(Call call) : call_(std::move(call)) {}
  bool operator()(T item) override { return call_(std::forward<T>(item)); }

 private:
  Call call_;
};

/// A functor of anything that can be called with a T and returns a bool.
template <class T, class Call>
functor_of_t<T, Call> MakeFunctor(Call call) {
  return functor_of_t<T, Call>(std::move(call));
}

}  // namespace zorutil::properties
