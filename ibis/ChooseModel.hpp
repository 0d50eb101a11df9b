#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Error.hpp"
#include "ibis/records/Executables.hpp"
#include "ibis/records/IbisFile.hpp"

namespace ibis {

/// Of a channel.
enum class End { Transmitter, Receiver };

/// A [Model] and the line of its [Algorithmic Model] that is for 64-bit Linux.
struct ChosenModel
{
    std::string name;
    ExecutableLine line;
    std::optional<End> end;  ///< that it is for, where Model_type or the line tell
};

/// The model of this name, or with an empty name the only one that runs here, or the only one of
/// these that is for this end; of its lines for this platform that end's before the other's. Throws
/// Error that lists the models or the platforms where that does not single out one.
ChosenModel ChooseModel(const IbisFile& file, std::string_view name, End end = End::Receiver);

}  // namespace ibis
