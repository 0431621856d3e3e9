#include "platform/Vok/Error.h"

namespace Vok::Impl {

void throwMutatorReinstantiating(std::string_view type, std::string_view attribute,
                                 std::string_view existing, std::string_view newValue) {
  std::string message = "cannot reinstantiate ";
  message.append(type).append(": attribute ").append(attribute);
  message.append(" of the existing ").append(existing);
  message.append(" differs from the new value ").append(newValue);
  throw MutatorReinstantiatingError(message);
}

}  // namespace Vok::Impl
