#pragma once

#include "ibis/findings/Rule.hpp"

/// What the lists of an .ami file are held against while they are read.
namespace ibis::rules {

inline constexpr Rule kDefinitions{
    822,
    Severity::Error,
    {},
    "The file defines parameters; it is no parameter string",
    "What AMI_Init is handed holds values alone. A simulator needs to know each parameter's Usage, "
    "Type and Format.",
    "(Root (Mode 1))"};

inline constexpr Rule kPartsOfRoot{826,
                                   Severity::Error,
                                   {},
                                   "The root holds Reserved_Parameters, Model_Specific and a "
                                   "Description, each once, in this order",
                                   "What stands elsewhere is not found by simulators.",
                                   "(Root (Model_Specifics (Gain ...)))"};

inline constexpr Rule kBranchOrParameter{
    827,
    Severity::Error,
    {},
    "A list with Usage and Type is a parameter and holds no further ones; any other is a branch "
    "and "
    "holds lists only",
    "Simulators tell branches from parameters by that. A parameter within another is most often a "
    "lost parenthesis.",
    "(zero_ghz (Value 5))"};

inline constexpr Rule kSiblingsDiffer{828,
                                      Severity::Error,
                                      {},
                                      "Lists of one branch or parameter have different names",
                                      "Which of the two a simulator takes is open.",
                                      "(Gain (Usage In) (Usage Out) (Type Float) (Value 1))"};

inline constexpr Rule kKnownLeaf{
    829,
    Severity::Note,
    {},
    "A parameter holds Usage, Type, a Format, Default, Description and List_Tip",
    "Simulators pass over what the standard does not know, or refuse the file.",
    "(Mode (Usage In) (Type Integer) (List 0 1) (Label \"off\" \"on\"))"};

inline constexpr Rule kPlainName{
    830,
    Severity::Warning,
    {},
    "Names consist of letters, digits, '_', '-' and '.', without quotes",
    "A parameter string cannot hold other names so that every model finds them again.",
    "(\"Gain of stage\" (Usage In) ...)"};

inline constexpr Rule kUsage{
    850,
    Severity::Error,
    {},
    "A parameter states its Usage: In, Out, Info, InOut or, from 6.1 on, Dep",
    "The Usage says who sets the parameter. Without it a simulator does not know whether to send "
    "it.",
    "(Gain (Usage INPUT) (Type Float) (Value 1))"};

inline constexpr Rule kType{
    851,
    Severity::Error,
    {},
    "A parameter states its Type: Float, Integer, String, Boolean, Tap or UI",
    "Without it a value can neither be checked nor written as the model expects it.",
    "(Gain (Usage In) (Type Int) (Value 1))"};

inline constexpr Rule kOneFormat{
    852,
    Severity::Error,
    {},
    "A parameter that a simulator sets has one Format or a Default",
    "There is no value to send otherwise. (Format Range 0 0 1) is an older way to write (Range 0 0 "
    "1).",
    "(Gain (Usage In) (Type Float))"};

inline constexpr Rule kFormatSize{
    853,
    Severity::Error,
    {},
    "A Format has as many values as its name says",
    "Range is typ min max, Corner is typ slow fast, Increment is typ min max delta, Steps is typ "
    "min "
    "max count, Gaussian is mean sigma, Dual-Dirac is mean mean sigma, DjRj is min max sigma.",
    "(Range 0 1)"};

inline constexpr Rule kValueFitsType{
    854,
    Severity::Error,
    {},
    "Values are of the parameter's Type: numbers without scale factors, True or False, texts in "
    "quotes",
    "Simulators differ in what they make of other spellings.",
    "(Gain (Usage In) (Type Float) (Value 10p))"};

inline constexpr Rule kFormatSuitsType{
    855,
    Severity::Error,
    {},
    "Ranges and distributions are of numbers",
    "A text or a Boolean has no minimum, and a distribution is one of times or voltages.",
    "(Mode (Usage In) (Type String) (Range \"b\" \"a\" \"c\"))"};

inline constexpr Rule kTipsOfList{862,
                                  Severity::Error,
                                  {},
                                  "A List has as many List_Tip texts as values",
                                  "Otherwise a user picks one value by the name of another.",
                                  "(List 0 1 2) (List_Tip \"off\" \"on\")"};

inline constexpr Rule kTableShape{
    863,
    Severity::Error,
    {},
    "The rows of a Table are equally long, with as many Labels and Types as columns",
    "A model cannot tell the columns of other tables.",
    "(Table (0 1) (2))"};

}  // namespace ibis::rules
