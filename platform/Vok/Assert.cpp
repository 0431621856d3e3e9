#include "platform/Vok/Assert.h"

#include <cstdio>
#include <cstdlib>

namespace Vok::Impl {

void assertionFailed(char const* expression, char const* file, int line, char const* function) {
  std::fprintf(stderr, "Assertion failed: \"%s\" at %s:%d in %s\n", expression, file, line,
               function);
  std::fflush(stderr);
  std::abort();
}

}  // namespace Vok::Impl
