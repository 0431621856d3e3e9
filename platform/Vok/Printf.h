// Fills a printf-style format with arguments that are already text.
//
// Log descriptors and ring-buffer traces keep printf-style formats (`%s`, `%d`, `%u`, ...) while
// the platform renders every argument to text before it is stored. Each conversion, whatever its
// letter, flags or width, takes the next argument; "%%" is a literal percent sign; a conversion
// with no argument left renders as nothing.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Vok {

std::string renderPrintf(std::string_view format, std::vector<std::string> const& args);

}  // namespace Vok
