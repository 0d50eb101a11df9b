#pragma once

#include <istream>
#include <nlohmann/json.hpp>

#include "base/Names.hpp"

namespace base {

/// The text as JSON; discarded where it is none, or nests deeper than anything that this program
/// writes: what walks through JSON calls itself for each level.
template <typename Json>
Json ParseJson(std::istream& text)
{
    constexpr int kDeepest = 64;
    bool tooDeep = false;
    Json json = Json::parse(
        text,
        [&tooDeep](int depth, typename Json::parse_event_t, Json&) {
            tooDeep = tooDeep || depth > kDeepest;
            return !tooDeep;
        },
        false);
    return tooDeep ? Json(Json::value_t::discarded) : json;
}

}  // namespace base
