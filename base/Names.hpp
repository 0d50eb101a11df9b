#pragma once

/// What everything stands on is called by its bare name.
namespace base {
}
namespace amisim {
using namespace base;
}
namespace ibis {
using namespace base;
}
