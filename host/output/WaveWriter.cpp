#include "host/output/WaveWriter.hpp"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <iterator>

#include "host/Error.hpp"
#include "host/base/Files.hpp"
#include "host/output/Npy.hpp"

namespace amisim {

OutputFile::OutputFile(const std::filesystem::path& path) : path_(path)
{
    const int descriptor = CreateFile(path);
    if (descriptor < 0) Fail();
    file_.reset(fdopen(descriptor, "wb"));
    if (!file_) Fail();
}

void OutputFile::Fail() const
{
    throw Error(ExitCode::kInput,
                fmt::format("{}: cannot be written: {}", path_.string(), std::strerror(errno)));
}

void OutputFile::Write(std::string_view text)
{
    if (std::fwrite(text.data(), 1, text.size(), file_.get()) != text.size()) Fail();
}

void OutputFile::WriteAtStart(std::string_view text)
{
    if (std::fseek(file_.get(), 0, SEEK_SET) != 0) Fail();
    Write(text);
}

void OutputFile::Close()
{
    if (std::fclose(file_.release()) != 0) Fail();
}

namespace {

std::string Header(std::int64_t rows)
{
    return NpyHeader("<f8", {rows, 2});
}

}  // namespace

WaveWriter::WaveWriter(const std::filesystem::path& folder, Kind kind, double sampleInterval)
    : kind_(kind), sampleInterval_(sampleInterval)
{
    if (kind_ == Kind::kNone) return;
    file_ = std::make_unique<OutputFile>(folder / (kind_ == Kind::kCsv ? "wave.csv" : "wave.npy"));
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

void WaveWriter::Close()
{
    if (!file_) return;
    if (kind_ == Kind::kNpy) file_->WriteAtStart(Header(count_));
    file_->Close();
    file_.reset();
}

}  // namespace amisim
