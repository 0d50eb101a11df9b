#pragma once

#include <string>
#include <string_view>

#include "base/Error.hpp"
#include "ibis/records/Executables.hpp"
#include "ibis/records/IbisFile.hpp"

namespace ibis {

/// A [Model] and the line of its [Algorithmic Model] that is for 64-bit Linux.
struct ChosenModel
{
    std::string name;
    ExecutableLine line;
};

/// The model of this name, or with an empty name the only one that runs here; of its lines for this
/// platform a receiver's before a transmitter's. Throws Error that lists the models or the
/// platforms where that does not single out one.
ChosenModel ChooseModel(const IbisFile& file, std::string_view name);

}  // namespace ibis
