#pragma once

#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "host/signal/WavePoints.hpp"

namespace amisim {

/// A waveform file of text; see WavePoints.
class CsvPoints : public WavePoints
{
public:
    CsvPoints(const std::filesystem::path& path, const std::string& column);

    bool Next(WavePoint& point) override;
    void Rewind() override;
    std::string Place() const override;

private:
    bool NextLine();
    void ReadHeading(const std::string& column);
    [[noreturn]] void Fail() const;

    std::ifstream file_;
    std::string text_;
    std::vector<std::string_view> fields_;  // of text_
    std::int64_t line_ = 0;
    std::int64_t firstLine_ = 0;  // of numbers
    std::size_t column_ = 0;
};

}  // namespace amisim
