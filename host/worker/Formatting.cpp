// The code of fmt as part of the worker, where no library of that name stands beside a model. All
// that other sources leave to the library is in this one function.

#define FMT_HEADER_ONLY
#include <fmt/format.h>

namespace amisim {

[[gnu::used]] std::string (*const vformat)(fmt::string_view, fmt::format_args) = fmt::vformat;

}  // namespace amisim
