// Any text as an .ami file: a file with parameters, or one line that says what is wrong.

#include "ibis/AmiFile.hpp"

#include <string_view>

#include "fuzz/Fuzz.hpp"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        const ibis::AmiFile file = ibis::ParseAmiText(text, "fuzz.ami");
        for (const ibis::AmiParameter& parameter : file.parameters) {
            Require(!parameter.name.empty() && parameter.line > 0, "a parameter has name and line");
            Require(!parameter.AllowedValues().empty(), "what it admits can be told");
            static_cast<void>(file.Find(parameter.Path()));
        }
    } catch (const ibis::FileError& error) {
        const std::string_view message = error.what();
        Require(message.starts_with("fuzz.ami") && message.find('\n') == message.npos, "one line");
    }
    return 0;
}
