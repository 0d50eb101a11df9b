#pragma once

#include <span>

#include "ibis/findings/Rule.hpp"

/// Rules that are tried while a file is read: its bytes, its lines, its keywords, its numbers.
namespace ibis::syntax {

using enum Severity;

inline constexpr Rule kReadable{101,
                                Error,
                                {},
                                "The file can be read and is text",
                                "A zero byte or a two-byte encoding means that the file was "
                                "damaged or saved in another format; no simulator reads it.",
                                "a file saved as UTF-16 by an editor"};
inline constexpr Rule kIsIbis{
    102,
    Error,
    {},
    "The first keyword is [IBIS Ver]",
    "It tells which version of the standard all that follows is written in.",
    "a downloaded HTML page named .ibs"};
inline constexpr Rule kBracket{103,
                               Error,
                               {},
                               "A keyword's line has its closing bracket",
                               "Without it the keyword cannot be told from its argument.",
                               "[Model  out_1"};
inline constexpr Rule kFirstColumn{
    104,
    Warning,
    {},
    "A keyword begins in column 1",
    "The standard asks for it, and some readers see no keyword elsewhere.",
    "  [Pin] signal_name model_name"};
inline constexpr Rule kKnownKeyword{
    105,
    Error,
    {},
    "Every keyword is one of the standard",
    "What stands under an unknown keyword is lost, and a strict reader refuses the file.",
    "[Pull Up]"};
inline constexpr Rule kKeywordVersion{106,
                                      Error,
                                      {},
                                      "No keyword is newer than [IBIS Ver]",
                                      "A reader of the stated version does not know it.",
                                      "[C Comp Corner] in a file of version 5.1"};
inline constexpr Rule kWordVersion{
    107,
    Error,
    {},
    "No sub-parameter, model type or enumeration is newer than [IBIS Ver]",
    "A reader of the stated version does not know it.",
    "Model_type Output_diff in a file of version 3.2"};
inline constexpr Rule kParent{108,
                              Error,
                              {},
                              "A keyword stands under its parent",
                              "Elsewhere nobody can tell what it belongs to.",
                              "[Ramp] before any [Model]"};
inline constexpr Rule kOnce{109,
                            Error,
                            {},
                            "A keyword that may stand once in its parent stands once",
                            "Simulators differ in which of the two they take.",
                            "two [Voltage Range] in one [Model]"};
inline constexpr Rule kSpelling{
    110,
    Warning,
    {},
    "A keyword's words are joined by one blank or underscore",
    "Only blank and underscore are equal, and case does not count; no other spelling is.",
    "[ GND  Clamp]"};
inline constexpr Rule kLine80{111,
                              Warning,
                              Before(40),
                              "No line is longer than 80 characters",
                              "Readers of that version may cut off what lies beyond.",
                              "a ruler of 100 asterisks"};
inline constexpr Rule kLine120{112,
                               Warning,
                               Since(40),
                               "No line is longer than 120 characters",
                               "Readers may cut off what lies beyond.",
                               "a long line of [Notes]"};
inline constexpr Rule kTabs{113,
                            Note,
                            {},
                            "Columns are aligned by blanks, not by tabs",
                            "The standard advises against tabs: they align differently everywhere.",
                            "1<tab>RX_P<tab>INBUF"};
inline constexpr Rule kAscii{114,
                             Warning,
                             {},
                             "The file holds printable 7-bit ASCII only",
                             "Other bytes mean something else on each system.",
                             "25 degrees with a degree sign"};
inline constexpr Rule kLineEnds{
    115,
    Note,
    {},
    "Lines end in one way, and no control characters stand between them",
    "Mixed line ends come from damage by editors and transfers.",
    "CRLF in some lines, LF in others"};
inline constexpr Rule kNumber{116,
                              Error,
                              {},
                              "Where a number is due there is a number",
                              "A value that is none makes the table or parameter unusable.",
                              "1980.000mV/nanns"};
inline constexpr Rule kScale{117,
                             Warning,
                             {},
                             "Scale factors are T G M k m u n p f, in this case",
                             "Other letters are read as the unit: 7Kohms is seven ohms.",
                             "Rref = 7Kohms"};
inline constexpr Rule kMisreadScale{
    118,
    Warning,
    {},
    "The scale factor fits what the number measures",
    "M is mega and m is milli: a capacitance in MF or a fixture in mOhm is a slip.",
    "Cref = 15MF"};
inline constexpr Rule kUnit{119,
                            Warning,
                            {},
                            "The unit behind a number is that of its column",
                            "The unit is not read, so a value in the wrong column goes unnoticed.",
                            "C_comp 2.0nH 1.8nH 2.2nH"};
inline constexpr Rule kScaleAndExponent{120,
                                        Note,
                                        {},
                                        "A number has an exponent or a scale factor, not both",
                                        "It is read as the product here; not every reader does so.",
                                        "1.2e-3mA"};
inline constexpr Rule kNoNa{122,
                            Error,
                            {},
                            "NA stands for minimum and maximum only, never for the typical value",
                            "The typical value is what NA elsewhere falls back to.",
                            "C_comp NA 1p 2p"};
inline constexpr Rule kOtherNa{123,
                               Note,
                               {},
                               "A value that is not available is written NA",
                               "Other spellings are not in the standard.",
                               "1.5 20m na na"};
inline constexpr Rule kColumns{124,
                               Error,
                               {},
                               "A line has the columns that its keyword asks for",
                               "With a column too few or too many nobody knows which is which.",
                               "five columns in [Pin]"};
inline constexpr Rule kData{125,
                            Error,
                            {},
                            "Data stand under a keyword that takes data",
                            "What stands elsewhere is lost.",
                            "text after [End Algorithmic Model]"};
inline constexpr Rule kEquals{
    126,
    Warning,
    {},
    "A sub-parameter is joined to its value as the standard has it, with = or a blank",
    "Some readers take the = for the value or ask for it.",
    "C_comp = 2p"};
inline constexpr Rule kCase{127,
                            Warning,
                            {},
                            "A sub-parameter is spelled in the case of the standard",
                            "Case counts for sub-parameters in older versions.",
                            "model_type Input"};
inline constexpr Rule kTwice{128,
                             Error,
                             {},
                             "A sub-parameter is stated once",
                             "Simulators differ in which of the two they take.",
                             "two lines of Vinh"};
inline constexpr Rule kKnownWord{129,
                                 Error,
                                 {},
                                 "Every sub-parameter is known under its keyword",
                                 "What it was meant to say is lost.",
                                 "Vmes = 1.5"};
inline constexpr Rule kCommentChar{
    130,
    Error,
    {},
    "[Comment Char] names one of the allowed characters followed by _char",
    "Otherwise it is not known where comments begin.",
    "[Comment Char] #"};
inline constexpr Rule kCommentDefault{
    131,
    Note,
    {},
    "The comment character is the default |",
    "Changing it is advised against: people and simple tools expect the default.",
    "[Comment Char] #_char"};
inline constexpr Rule kCommentInData{132,
                                     Warning,
                                     {},
                                     "The comment character does not occur within data",
                                     "A name that holds it is cut off there.",
                                     "pin RESET# after [Comment Char] #_char"};
inline constexpr Rule kEnd{133,
                           Error,
                           {},
                           "The file ends in [End]",
                           "Without it nobody knows whether the rest of the file was lost.",
                           "a download that was cut off"};
inline constexpr Rule kAfterEnd{134,
                                Note,
                                {},
                                "Nothing but comments follows [End]",
                                "It is not read.",
                                "a second file pasted behind"};
inline constexpr Rule kName{136,
                            Error,
                            {},
                            "A keyword that asks for a name has one on its line",
                            "Nothing else can refer to it.",
                            "[Model]"};
inline constexpr Rule kOneLine{
    138,
    Note,
    {},
    "Only Source, Notes, Disclaimer, Copyright and Description go on over several lines",
    "What stands on further lines of other keywords is lost.",
    "[Manufacturer] with a second line"};

inline constexpr const Rule* kAll[] = {
    &kReadable,       &kIsIbis,      &kBracket,      &kFirstColumn, &kKnownKeyword,
    &kKeywordVersion, &kWordVersion, &kParent,       &kOnce,        &kSpelling,
    &kLine80,         &kLine120,     &kTabs,         &kAscii,       &kLineEnds,
    &kNumber,         &kScale,       &kMisreadScale, &kUnit,        &kScaleAndExponent,
    &kNoNa,           &kOtherNa,     &kColumns,      &kData,        &kEquals,
    &kCase,           &kTwice,       &kKnownWord,    &kCommentChar, &kCommentDefault,
    &kCommentInData,  &kEnd,         &kAfterEnd,     &kName,        &kOneLine};

}  // namespace ibis::syntax
