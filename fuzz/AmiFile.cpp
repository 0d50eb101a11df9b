// Any text as an .ami file: a file with parameters, or one line that says what is wrong.

#include "ibis/ami/AmiFile.hpp"

#include "fuzz/Fuzz.hpp"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ReadOrExplain<ibis::FileError>("fuzz.ami", [text = Text(data, size)] {
        const ibis::AmiFile file = ibis::ParseAmiText(text, "fuzz.ami");
        for (const ibis::AmiParameter& parameter : file.parameters) {
            Require(!parameter.name.empty() && parameter.line > 0, "a parameter has name and line");
            Require(!parameter.AllowedValues().empty(), "what it admits can be told");
            static_cast<void>(file.Find(parameter.Path()));
        }
    });
    return 0;
}
