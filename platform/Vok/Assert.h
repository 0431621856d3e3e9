// Invariant checks that stop the process.
//
// A failed check prints the expression text exactly as written at the call site, the source file
// the component names for itself, the line and the function, then aborts. Components wrap
// VOK_ASSERT in a macro of their own that supplies their file name. The check is never compiled
// out: a broken invariant in a forwarding agent must stop it, not corrupt hardware tables.
#pragma once

namespace Vok::Impl {

[[noreturn]] void assertionFailed(char const* expression, char const* file, int line,
                                  char const* function);

}  // namespace Vok::Impl

#define VOK_ASSERT(expr, file)                                       \
  do {                                                               \
    if (!(expr)) {                                                   \
      ::Vok::Impl::assertionFailed(#expr, file, __LINE__, __func__); \
    }                                                                \
  } while (false)
