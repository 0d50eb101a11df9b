#pragma once

#include <fstream>
#include <vector>

#include "host/signal/WavePoints.hpp"

namespace amisim {

/// A waveform file in NumPy's array format, version 1 to 3; see WavePoints.
class NpyPoints : public WavePoints
{
public:
    NpyPoints(const std::filesystem::path& path, const std::string& column);

    bool Next(WavePoint& point) override;
    void Rewind() override;
    std::string Place() const override;

private:
    void ReadHeader();
    double Value(std::size_t column) const;
    [[noreturn]] void Fail(const std::string& what) const;

    std::ifstream file_;
    std::streamoff dataAt_ = 0;
    std::size_t width_ = 8;  // bytes a number
    std::int64_t rows_ = 0, row_ = 0;
    std::size_t columns_ = 1, column_ = 0;
    std::vector<char> buffer_;  // some rows
    std::size_t at_ = 0;        // byte of the row in it
};

}  // namespace amisim
