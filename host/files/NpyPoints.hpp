#pragma once

#include <fstream>
#include <string_view>
#include <vector>

#include "host/files/WavePoints.hpp"

namespace amisim {

/// A waveform file in NumPy's array format, version 1 to 3; see WavePoints.
class NpyPoints : public WavePoints
{
public:
    NpyPoints(const std::filesystem::path& path, const WaveReading& reading);

    void Rewind() override;
    std::string Place() const override;

private:
    bool Read(WavePoint& point) override;
    void ReadHeader();
    void ReadType(std::string_view type);
    void ReadShape(std::string_view header);
    void Fill();
    double Value(std::size_t column) const;
    [[noreturn]] void Fail(const std::string& what) const;

    std::ifstream file_;
    std::streamoff dataAt_ = 0;
    char kind_ = 'f';         // f, i or u
    std::size_t width_ = 8;   // bytes a number
    bool isSwapped_ = false;  // against this machine's byte order
    bool byColumns_ = false;  // each column's numbers lie together
    std::int64_t rows_ = 0, row_ = 0;
    std::size_t count_ = 1;  // of columns
    Columns columns_;
    std::vector<char> buffer_;             // of some rows, all columns or those needed
    std::int64_t first_ = 0, filled_ = 0;  // rows in it
};

}  // namespace amisim
