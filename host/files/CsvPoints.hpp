#pragma once

#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/TextLines.hpp"
#include "host/files/CsvFormat.hpp"
#include "host/files/CsvHeading.hpp"
#include "host/files/WavePoints.hpp"

namespace amisim {

/// A waveform file of text; see WavePoints.
class CsvPoints : public WavePoints
{
public:
    CsvPoints(const std::filesystem::path& path, const WaveReading& reading);

    void Rewind() override;
    std::string Place() const override;

private:
    /// The first lines of the file.
    struct Sample
    {
        std::vector<std::string> lines;
        std::vector<std::int64_t> numbers;  // of the lines
    };
    bool Read(WavePoint& point) override;
    Sample ReadSample();
    std::vector<std::size_t> NumberColumns(const Sample& sample) const;
    void FindLayout(const Sample& sample, const WaveReading& reading);
    bool CountsSamples(const Sample& sample, std::size_t column, const CsvHeading& heading) const;
    void UseUnits(const CsvHeading& heading);
    double Value(std::size_t column);
    [[noreturn]] void Fail() const;

    std::ifstream file_;
    std::optional<TextLines> lines_;
    CsvFormat format_;
    std::string text_;
    std::vector<std::string_view> fields_;  // of text_
    std::int64_t firstLine_ = 0;            // of numbers
    std::size_t count_ = 0;                 // of columns
    std::size_t time_ = 0;
    Columns columns_;
    double timeScale_ = 1, valueScale_ = 1, minusScale_ = 1;
};

}  // namespace amisim
