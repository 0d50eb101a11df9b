#include "host/run/OwnLogs.hpp"

#include <fmt/format.h>

#include <charconv>

#include "host/known/AdaptLog.hpp"
#include "host/known/EomLog.hpp"

namespace amisim {

constexpr std::size_t kMostLoggedEyes = 400;

void TakeOwnLogs(const std::filesystem::path& folder, const ModelSource& model, RunResult& result)
{
    result.adaptation = ReadAdaptLog(folder / "Adapt.txt");
    if (result.adaptation) result.eqLevel = result.adaptation->Level();
    if (!result.eqLevel) {
        int level = 0;
        if (const auto text = model.Setting("EQ_Level");
            text &&
            std::from_chars(text->data(), text->data() + text->size(), level).ptr != text->data())
            result.eqLevel = level;
    }
    EomLog eom = ReadEomLog(folder / "EOM.txt", kMostLoggedEyes);
    result.loggedEyes = std::move(eom.eyes);
    if (eom.more) {
        result.notes.push_back(
            fmt::format("EOM.txt: only the first {} eyes are taken over", kMostLoggedEyes));
    }
}

}  // namespace amisim
