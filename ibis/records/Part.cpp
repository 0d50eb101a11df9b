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

PartPins::PartPins(const IbisFile& file, std::string_view component)
{
    const auto consider = [&](std::string_view name, const Section& section, Key list) {
        names_.emplace_back(name);
        if (name == component) {
            isKnown_ = true;
            for (const auto row : section.RowsOf(list)) {
                pins_.insert(row[0].Text());
            }
        }
    };
    for (const Component& one : file.components) {
        consider(one.name, *one.section, Key::Pin);
    }
    for (const Section* const board : file.boards) {
        consider(board->argument, *board, Key::PinList);
    }
    for (const Section* const module : file.emds) {
        consider(module->argument, *module, Key::EmdPinList);
    }
}

}  // namespace ibis
