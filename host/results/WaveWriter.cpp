#include "host/results/WaveWriter.hpp"

#include <fmt/format.h>

#include <iterator>

#include "base/Npy.hpp"

namespace amisim {

namespace {

std::string Header(std::int64_t rows)
{
    return NpyHeader("<f8", {rows, 2});
}

}  // namespace

WaveWriter::WaveWriter(OutputFolder& folder, Kind kind, double sampleInterval)
    : kind_(kind), sampleInterval_(sampleInterval)
{
    if (kind_ == Kind::kNone) return;
    file_.emplace(folder, kind_ == Kind::kCsv ? "wave.csv" : "wave.npy");
    file_->Write(kind_ == Kind::kCsv ? "time_s,voltage_v\n" : Header(0));
}

void WaveWriter::Add(std::span<const double> wave)
{
    if (!file_) return;
    text_.clear();
    for (const double sample : wave) {
        const double time = static_cast<double>(count_++) * sampleInterval_;
        if (kind_ == Kind::kCsv) {
            fmt::format_to(std::back_inserter(text_), "{},{}\n", time, sample);
        } else {
            const double row[2] = {time, sample};
            text_.append(reinterpret_cast<const char*>(row), sizeof row);
        }
    }
    file_->Write(text_);
}

WaveWriter::~WaveWriter()
{
    if (kind_ == Kind::kNpy) file_->WriteAtStart(Header(count_));
}

}  // namespace amisim
