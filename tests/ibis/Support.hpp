#pragma once

#include <string>

#include "base/Error.hpp"

/// The message of the Error that an action throws, or "" when it throws none.
template <class Action>
std::string MessageOf(Action action)
{
    try {
        action();
    } catch (const base::Error& error) {
        return error.what();
    }
    return "";
}
