#include "host/pages/WriteResults.hpp"

#include <fmt/format.h>

#include <algorithm>

#include "host/pages/Page.hpp"
#include "host/pictures/Pictures.hpp"
#include "host/results/CurveFiles.hpp"
#include "host/results/ResultJson.hpp"

namespace amisim {

const OutputFolder::Kind& RunFolder()
{
    static const OutputFolder::Kind kind = [] {
        OutputFolder::Kind run{"run", {"result.json"}};
        for (const PictureFormat format : kPictureFormats) {
            for (const auto name : kPictureNames)
                run.files.push_back(fmt::format("{}.{}", name, Name(format)));
        }
        for (const char* name :
             {"report.html", "bathtub.csv", "contours.csv", "eye.npy", "eye-input.npy", "tie.csv",
              "tie_histogram.csv", "tie_spectrum.csv", "unit_interval.csv", "parameters_out.csv",
              "model.log", "tx.log", "Adapt.txt", "EOM.txt", "clock.csv", "wave.csv", "wave.npy"})
            run.files.emplace_back(name);
        return run;
    }();
    return kind;
}

void WriteResults(RunResult& result, const SimulationOptions& options, const ModelSource& model,
                  const PictureFormats& pictures, OutputFolder& folder)
{
    const auto list = [&](const char* next) {
        result.files = folder.Files();
        if (std::ranges::find(result.files, next) == result.files.end())
            result.files.emplace_back(next);
    };
    const auto json = [&] { return ToText(ToJson(result, options, model), 2) + "\n"; };
    list("result.json");
    folder.Put("result.json", json(), true);

    const PutFile put = [&](const std::string& name, const std::string& bytes) {
        folder.Put(name, bytes);
    };
    SavePictures(result, options, model.name, pictures, put);
    WriteCurves(result, put);
    list("report.html");
    folder.Put("report.html", ReportPage(result, options, model));

    const auto notes = result.notes;
    const auto complete = [&] {
        result.files = folder.Files();
        result.notes = notes;
        if (const std::string dropped = folder.Dropped(); !dropped.empty())
            result.notes.push_back("not written: " + dropped);
        return json();
    };
    folder.Update("result.json", complete, true);
}

}  // namespace amisim
