#pragma once

#include <cstdint>
#include <streambuf>
#include <string>
#include <string_view>

#include "base/Names.hpp"

namespace base {

/// A text in memory, read where it lies.
class TextBuffer : public std::streambuf
{
public:
    explicit TextBuffer(std::string_view text)
    {
        char* const begin = const_cast<char*>(text.data());  // never written to
        setg(begin, begin, begin + text.size());
    }
};

/// The lines of a text as any system writes it: each ends with LF, CR LF or CR alone. A byte order
/// mark before the first belongs to none.
class TextLines
{
public:
    explicit TextLines(std::streambuf& text) : text_(&text) {}

    /// The next line without its end; false when there is none.
    bool Next(std::string& line)
    {
        line.clear();
        int c = text_->sbumpc();
        for (; c != kEnd && c != '\n' && c != '\r'; c = text_->sbumpc())
            line.push_back(static_cast<char>(c));
        if (c == '\r' && text_->sgetc() == '\n') text_->sbumpc();
        isCut_ = c == kEnd;
        if (number_ == 0 && line.starts_with("\xef\xbb\xbf")) line.erase(0, 3);
        if (isCut_ && line.empty()) return false;
        ++number_;
        return true;
    }

    std::int64_t Number() const { return number_; }  // of that line, from 1
    bool IsCut() const { return isCut_; }            // it had no end

private:
    static constexpr int kEnd = std::streambuf::traits_type::eof();

    std::streambuf* text_;
    std::int64_t number_ = 0;
    bool isCut_ = false;
};

}  // namespace base
