#pragma once

#include "ibis/findings/Rule.hpp"

/// What the text of an .ami file is held against, whatever it says.
namespace ibis::rules {

inline constexpr Rule kOneTree{
    820,
    Severity::Error,
    {},
    "An .ami file is one list in parentheses, as many of them closed as opened",
    "Where a parenthesis is missing, parameters end up in the wrong list or outside of all, and "
    "simulators differ in what they make of that.",
    "(Root (Reserved_Parameters ...) (Model_Specific ...)"};

inline constexpr Rule kRootName{
    821,
    Severity::Error,
    {},
    "The root has a name",
    "The root's name heads the parameter string that AMI_Init is handed.",
    "( (Reserved_Parameters ...))"};

inline constexpr Rule kQuotesClosed{
    823,
    Severity::Error,
    {},
    "A text in quotes ends in the line in which it begins",
    "A quote that is never closed swallows the rest of the file. A text that goes on in the next "
    "line is read, but not by every simulator.",
    "(Description \"Gain of the equaliser)"};

inline constexpr Rule kCommentCharacter{
    824,
    Severity::Warning,
    {},
    "Comments begin with |",
    "An .ami file has no other comment character, so simulators take the words for values.",
    "# gain of the equaliser"};

inline constexpr Rule kPlainCharacters{
    825,
    Severity::Warning,
    {},
    "The file holds printable ASCII, tabs and line ends only",
    "Other characters depend on the encoding that a program assumes, and some programs refuse "
    "them.",
    "(Description \"R = 50 \xCE\xA9\")"};

inline constexpr Rule kDepth{831,
                             Severity::Note,
                             {},
                             "Lists stand no more than ten deep within each other",
                             "Users name a parameter by all lists that it stands in.",
                             "(a (b (c (d (e (f (g (h (i (j (k ...)))))))))))"};

}  // namespace ibis::rules
