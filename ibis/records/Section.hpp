#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "ibis/findings/Finding.hpp"

namespace ibis {

struct Keyword;       // a row of the grammar, see reader/Grammar.hpp
struct SubParameter;  // likewise
enum class Key : std::uint8_t;

/// A word of a file and where it stands. It points into the text that the file's record keeps, and
/// is small, since a big file has millions of them.
class Word
{
public:
    static constexpr std::size_t kLongest = 65535;

    Word() = default;
    Word(std::string_view text, int line, std::size_t column)
        : data_(text.data()),
          line_(static_cast<std::uint32_t>(line)),
          column_(static_cast<std::uint16_t>(std::min(column, kLongest))),
          size_(static_cast<std::uint16_t>(std::min(text.size(), kLongest)))
    {
    }

    std::string_view Text() const { return {data_, size_}; }
    std::string String() const { return std::string(Text()); }
    ibis::Place Place() const { return {static_cast<int>(line_), column_}; }
    int Line() const { return static_cast<int>(line_); }
    explicit operator bool() const { return size_ > 0; }
    bool operator==(std::string_view other) const { return Text() == other; }

private:
    const char* data_ = "";
    std::uint32_t line_ = 0;
    std::uint16_t column_ = 0;
    std::uint16_t size_ = 0;
};

/// Lines of words, one after the other in one vector.
class Rows
{
public:
    std::size_t size() const { return starts_.size(); }
    bool empty() const { return starts_.empty(); }
    std::span<const Word> operator[](std::size_t row) const
    {
        const std::size_t end = row + 1 < starts_.size() ? starts_[row + 1] : words_.size();
        return std::span(words_).subspan(starts_[row], end - starts_[row]);
    }
    /// For loops over all rows.
    struct Iterator
    {
        const Rows* rows;
        std::size_t row;

        std::span<const Word> operator*() const { return (*rows)[row]; }
        Iterator& operator++()
        {
            ++row;
            return *this;
        }
        bool operator==(const Iterator& other) const { return row == other.row; }
    };
    Iterator begin() const { return {this, 0}; }
    Iterator end() const { return {this, size()}; }

    void Add(std::span<const Word> words)
    {
        starts_.push_back(static_cast<std::uint32_t>(words_.size()));
        words_.insert(words_.end(), words.begin(), words.end());
    }

private:
    std::vector<Word> words_;
    std::vector<std::uint32_t> starts_;
};

/// The three columns of nearly everything in an IBIS file.
enum class Corner { Typ, Min, Max };
inline constexpr Corner kCorners[] = {Corner::Typ, Corner::Min, Corner::Max};
constexpr const char* Name(Corner corner)
{
    return corner == Corner::Typ ? "typ" : corner == Corner::Min ? "min" : "max";
}

/// Values of the three corners in SI units; NaN stands for NA, for what is not given, and for what
/// is no number (which the reader has reported).
struct Corners
{
    double typ = NAN, min = NAN, max = NAN;

    double operator[](Corner corner) const
    {
        return corner == Corner::Typ ? typ : corner == Corner::Min ? min : max;
    }
    /// The corner's own value, else the typical one, as the standard has it for NA.
    double Or(Corner corner) const
    {
        const double own = (*this)[corner];
        return std::isnan(own) ? typ : own;
    }
    bool Has(Corner corner) const { return !std::isnan((*this)[corner]); }
};

/// A line with values of the three corners: C_comp, [Voltage Range], a row of [Model Spec].
struct Triple
{
    ibis::Place place;  ///< of its name; line 0: not given
    Corners at;
    int columns = 0;  ///< how many were written

    explicit operator bool() const { return static_cast<bool>(place); }
};

/// One number, such as Vmeas = 1.5V.
struct Value
{
    ibis::Place place;  ///< of its name; line 0: not given
    double value = NAN;

    explicit operator bool() const { return static_cast<bool>(place); }
    bool IsNumber() const { return !std::isnan(value); }
};

/// A table with a voltage or time and the three corners in each row.
struct Curve
{
    struct Row
    {
        double x = NAN;
        Corners y;
    };
    ibis::Place place;       ///< of its keyword; line 0: not given
    std::string_view title;  ///< as the standard writes its keyword: "Pulldown"
    std::vector<Row> rows;
    std::vector<std::uint32_t> lines;  ///< of each row

    explicit operator bool() const { return static_cast<bool>(place); }
    ibis::Place At(std::size_t row) const { return {static_cast<int>(lines[row]), 1}; }
};

/// A sub-parameter of a section: its words, the name first.
struct Setting
{
    const SubParameter* known = nullptr;  ///< never null: what is unknown is reported and left out
    std::vector<Word> words;

    ibis::Place Place() const { return words.front().Place(); }
    std::span<const Word> Values() const { return std::span(words).subspan(1); }
    /// The first value, or an empty word.
    Word First() const { return words.size() > 1 ? words[1] : Word(); }
};

/// A keyword with all that stands under it, as far as the grammar goes: what it means is for the
/// records that are made of it.
struct Section
{
    const Keyword* keyword = nullptr;
    ibis::Place place;
    std::string_view
        argument;  ///< rest of the keyword's line, trimmed; of a text also the lines that follow
    std::vector<Word> arguments;  ///< its words
    std::vector<Setting> settings;
    Rows rows;
    Curve curve;
    std::vector<double> numbers;  ///< of a matrix row, NaN for what is no number
    std::vector<Section> children;
    bool closed = false;  ///< by its [End ...]

    bool Is(Key key) const;
    const Section* Child(Key key) const;
    std::vector<const Section*> Children(Key key) const;
    const Setting* Find(std::string_view name) const;
    /// The rows of a child; none where there is no such child.
    const Rows& RowsOf(Key key) const;

    /// The argument's three corners, or of a sub-parameter's.
    Triple ArgumentCorners() const;
    Triple CornersOf(std::string_view name) const;
    Value ValueOf(std::string_view name) const;
    /// First value of a sub-parameter, or an empty word.
    Word WordOf(std::string_view name) const;
};

}  // namespace ibis
