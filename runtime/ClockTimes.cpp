#include "runtime/ClockTimes.hpp"

#include "runtime/DFErrorHandler.hpp"

namespace Vantor {

bool ClockTimes::Initialize()
{
    if (SampleInterval <= 0) {
        DFErrorHandler::PostError(this, "SampleInterval must be larger than 0.");
        return false;
    }
    m_iPreviousClock = -1;
    m_iFiring = 0;
    return true;
}

}  // namespace Vantor
