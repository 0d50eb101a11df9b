#include "ibis/records/Part.hpp"

#include "ibis/reader/Grammar.hpp"
#include "ibis/records/IbisFile.hpp"

namespace ibis {

Part ReadPart(std::span<const Word> row)
{
    Part part{row[0], row.size() > 1 ? row[1] : Word(), {}};
    for (size_t i = 2; i < row.size(); ++i) {
        part.component.append(i > 2 ? " " : "").append(row[i].Text());
    }
    return part;
}

const IbisFile* FileOf(const Part& part, const IbisFile& own)
{
    return part.file == own.document.path.filename().native()
               ? &own
               : own.neighbours->Read(part.file.Text());
}

PartPins::PartPins(const IbisFile& file, std::string_view name)
    : component_(file.FindComponent(name))
{
    for (const auto& [key, list] : {std::pair(Key::BeginBoardDescription, Key::PinList),
                                    std::pair(Key::BeginEmd, Key::EmdPinList)}) {
        const Section* const found = component_ || other_ ? nullptr : file.Find(key, name);
        if (found) {
            other_ = found;
            for (const auto row : found->RowsOf(list)) {
                pins_.insert(row[0].Text());
            }
        }
    }
}

bool PartPins::Has(std::string_view pin) const
{
    return component_ ? component_->FindPin(pin) != nullptr : pins_.contains(pin);
}

std::vector<std::string> PartNames(const IbisFile& file)
{
    std::vector<std::string> names;
    for (const Component& component : file.components) {
        names.emplace_back(component.name);
    }
    for (const auto* const sections : {&file.boards, &file.emds}) {
        for (const Section* const section : *sections) {
            names.emplace_back(section->argument);
        }
    }
    return names;
}

}  // namespace ibis
