#include "host/output/WriteResults.hpp"

#include <string_view>
#include <system_error>

#include "host/output/CurveFiles.hpp"
#include "host/output/Page.hpp"
#include "host/output/Pictures.hpp"
#include "host/output/ResultJson.hpp"
#include "host/output/WaveWriter.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;

// Written by a run, or by the model in its working folder.
constexpr const char* kFiles[] = {"report.html",
                                  "eye.png",
                                  "eye-input.png",
                                  "bathtub-time.png",
                                  "bathtub-voltage.png",
                                  "tie.png",
                                  "adaptation.png",
                                  "bathtub.csv",
                                  "contours.csv",
                                  "eye.npy",
                                  "eye-input.npy",
                                  "tie.csv",
                                  "tie_histogram.csv",
                                  "tie_spectrum.csv",
                                  "unit_interval.csv",
                                  "clock.csv",
                                  "wave.csv",
                                  "wave.npy",
                                  "Adapt.txt",
                                  "EOM.txt",
                                  "model.log",
                                  "result.json"};

void WriteText(const fs::path& path, const std::string& text)
{
    OutputFile file(path);
    file.Write(text);
    file.Close();
}

}  // namespace

void RemoveResults(const fs::path& folder)
{
    std::error_code ignored;
    for (const char* name : kFiles) fs::remove(folder / name, ignored);
}

void WriteResults(RunResult& result, const RunOptions& options, const ModelSource& model)
{
    SavePictures(result, options, model.name);
    WriteCurves(result, options.out);
    for (const char* name : kFiles) {
        const bool last =
            std::string_view(name) == "report.html" || std::string_view(name) == "result.json";
        if (last || fs::exists(options.out / name)) result.files.emplace_back(name);
    }
    WriteText(options.out / "report.html", ReportPage(result, options, model));
    const fs::path unfinished = options.out / "result.json.tmp";
    WriteText(unfinished, ToText(ToJson(result, options, model), 2) + "\n");
    fs::rename(unfinished, options.out / "result.json");
}

}  // namespace amisim
