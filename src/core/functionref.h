#pragma once

#include <memory>
#include <type_traits>
#include <utility>

namespace zdb {

template <typename Signature>
class FunctionRef;

/// A reference to a callable, to be passed as an argument without the allocation of std::function.
/// It must not outlive the callable.
template <typename Result, typename... Arguments>
class FunctionRef<Result(Arguments...)> {
 public:
  template <typename Callable>
  requires(!std::is_same_v<std::remove_cvref_t<Callable>, FunctionRef> &&
           std::is_invocable_r_v<Result, Callable&, Arguments...>)
      // NOLINTNEXTLINE(bugprone-forwarding-reference-overload): constrained above
      FunctionRef(Callable&& callable)
      : object_(const_cast<void*>(static_cast<const void*>(std::addressof(callable)))),
        invoke_([](void* object, Arguments... arguments) -> Result {
          return (*static_cast<std::add_pointer_t<std::remove_reference_t<Callable>>>(object))(
              std::forward<Arguments>(arguments)...);
        }) {}

  /// Calls a member function of `object`.
  /// REQUIRES `object` outlives this reference.
  template <auto member, typename Object>
  static FunctionRef toMember(Object& object) {
    return FunctionRef(&object, [](void* self, Arguments... arguments) -> Result {
      return (static_cast<Object*>(self)->*member)(std::forward<Arguments>(arguments)...);
    });
  }

  Result operator()(Arguments... arguments) const {
    return invoke_(object_, std::forward<Arguments>(arguments)...);
  }

 private:
  FunctionRef(void* object, Result (*invoke)(void*, Arguments...))
      : object_(object), invoke_(invoke) {}

  void* object_;
  Result (*invoke_)(void*, Arguments...);
};

}  // namespace zdb
