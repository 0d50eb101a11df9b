#pragma once

#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "ibis/records/Section.hpp"

namespace ibis {

struct Component;
struct IbisFile;

/// A row of [Reference Designator Map] or [EMD Parts]: the component's name is the rest of its
/// line.
struct Part
{
    Word name, file;
    std::string component;
};

Part ReadPart(std::span<const Word> row);

/// The file that holds a part: this one itself, or one beside it; null where it is not there.
const IbisFile* FileOf(const Part& part, const IbisFile& own);

/// The pins of a component, or of a board or module that is a part of another one.
class PartPins
{
public:
    PartPins(const IbisFile& file, std::string_view name);

    bool IsKnown() const { return component_ || other_; }
    bool Has(std::string_view pin) const;

private:
    const Component* component_ = nullptr;
    const Section* other_ = nullptr;
    std::unordered_set<std::string_view> pins_;  ///< of the other
};

/// All that could be a part of another file's board or module.
std::vector<std::string> PartNames(const IbisFile& file);

}  // namespace ibis
