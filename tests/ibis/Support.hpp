#pragma once

#include <string>

#include "ibis/FileError.hpp"

/// The message of the FileError that an action throws, or "" when it throws none.
template <class Action>
std::string MessageOf(Action action)
{
    try {
        action();
    } catch (const ibis::FileError& error) {
        return error.what();
    }
    return "";
}
