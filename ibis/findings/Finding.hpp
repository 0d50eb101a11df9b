#pragma once

#include <cstddef>
#include <string>

namespace ibis {

enum class Severity {
    Error,    ///< the standard forbids it and a tool cannot be expected to use it
    Warning,  ///< forbidden but usable, or physically inconsistent
    Note      ///< advice
};

/// "error", "warning", "note"
const char* Name(Severity severity);

/// Where something stands in a file. Line and column count from 1; 0: the file as a whole.
struct Place
{
    int line = 0;
    int column = 0;

    explicit operator bool() const { return line > 0; }
};

/// One thing that a checker has to say about a file.
struct Finding
{
    int number = 0;  ///< of its rule
    Severity severity = Severity::Error;
    std::string file;
    Place place;
    std::string
        text;  ///< one sentence without its full stop, with both numbers where it is about physics
    std::string remedy;  ///< what to do about it; may be empty

    /// "text. Remedy: remedy."
    std::string Message() const;

    /// "u.ibs:267:1: warning IB508: text. Remedy: remedy." on one line, without line and column
    /// where there are none.
    std::string Line() const;
};

}  // namespace ibis
