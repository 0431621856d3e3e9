// Errors the state framework raises.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace Vok {

// Raised when a child is created under a key that already holds a child made from different
// constructor arguments. Nothing catches it inside a notification handler, so it stops the
// process there.
class MutatorReinstantiatingError : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

namespace Impl {

// Throws MutatorReinstantiatingError naming the type, the attribute whose value differs, and the
// existing and new values (as text).
[[noreturn]] void throwMutatorReinstantiating(std::string_view type, std::string_view attribute,
                                              std::string_view existing, std::string_view newValue);

}  // namespace Impl
}  // namespace Vok
