#include "ibis/records/Executables.hpp"

#include "base/TextFile.hpp"
#include "ibis/reader/Grammar.hpp"

namespace ibis {

std::vector<ExecutableLine> ExecutablesOf(const Model& model)
{
    std::vector<ExecutableLine> lines;
    if (model.algorithmic) {
        for (const Setting& setting : model.algorithmic->settings) {
            if (setting.words.size() == 4) {
                lines.push_back({setting.known->name, setting.words[1], setting.words[2],
                                 setting.words[3], setting.Place()});
            }
        }
    }
    return lines;
}

std::optional<AmiFile> AmiOf(const IbisFile& file, const ExecutableLine& line)
{
    const auto path = file.Beside(line.ami.Text());
    Findings ofItsOwn("");
    try {
        return path ? std::optional(ReadAmiFile(*path, ofItsOwn)) : std::nullopt;
    } catch (const Error&) {
        return std::nullopt;
    }
}

bool IsThisPlatform(std::string_view platform)
{
    const std::string name = Lowercase(platform);
    return name.starts_with("linux") && name.ends_with("64");
}

}  // namespace ibis
