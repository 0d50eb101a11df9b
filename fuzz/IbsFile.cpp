// Any text as an .ibs file: it is read to its end and every rule is tried on it.

#include "fuzz/Fuzz.hpp"
#include "ibis/ChooseModel.hpp"
#include "ibis/rules/CheckFile.hpp"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ReadOrExplain<base::Error>("fuzz.ibs", [text = Text(data, size)] {
        ibis::Findings findings("fuzz.ibs");
        const ibis::IbisFile file = ibis::ParseIbisText(std::string(text), "fuzz.ibs", findings);
        ibis::CheckFile(file, findings);
        const int lines = file.document.lines;  // 0: what cannot be read at all
        for (const ibis::Finding& finding : findings.Take()) {
            Require(!finding.text.empty() && finding.Line().find('\n') == std::string::npos,
                    "one line");
            Require(lines == 0 || finding.place.line <= lines, "within the file");
        }
        static_cast<void>(ibis::ChooseModel(file, ""));
    });
    return 0;
}
