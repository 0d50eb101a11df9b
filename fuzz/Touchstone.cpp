// Any text as a Touchstone file, the number of ports by its first character: a multi-port, or one
// line that says what is wrong.

#include "touchstone/Touchstone.hpp"

#include "base/Error.hpp"
#include "fuzz/Fuzz.hpp"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) return 0;
    const char* const names[] = {"fuzz.s2p", "fuzz.s4p", "fuzz.ts", "fuzz.s1p", "fuzz.s12p"};
    ReadOrExplain<base::Error>(
        "fuzz.", [name = names[data[0] % 5], text = Text(data + 1, size - 1)] {
            const amisim::SParameters s = amisim::ParseTouchstone(text, name);
            const auto ports = static_cast<std::size_t>(s.ports);
            Require(ports > 0 && !s.frequency.empty(), "something was read");
            Require(s.reference.size() == ports, "a reference for each port");
            Require(s.values.size() == s.frequency.size() * ports * ports, "whole matrices");
        });
    return 0;
}
