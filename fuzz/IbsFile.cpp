// Any text as an .ibs file: a file with models, or one line that says what is wrong.

#include "ibis/IbsFile.hpp"

#include "fuzz/Fuzz.hpp"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ReadOrExplain<ibis::FileError>("fuzz.ibs", [text = Text(data, size)] {
        const ibis::IbsFile file = ibis::ParseIbsText(text, "fuzz.ibs");
        for (const ibis::AlgorithmicModel& model : file.models) {
            Require(!model.executables.empty(), "an algorithmic model has something to run");
            static_cast<void>(model.ForThisPlatform());
        }
        static_cast<void>(file.Choose(""));
    });
    return 0;
}
