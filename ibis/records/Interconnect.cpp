#include "ibis/records/Interconnect.hpp"

#include "ibis/reader/Grammar.hpp"
#include "ibis/records/IbisFile.hpp"

namespace ibis {
namespace {

Terminal ReadTerminal(std::span<const Word> row)
{
    const auto at = [&](size_t column) { return column < row.size() ? row[column] : Word(); };
    Terminal terminal{at(0), at(1), at(2), at(3), row.back() == "Aggressor_Only"};
    return terminal;
}

}  // namespace

bool Interconnect::IsTouchstone() const
{
    return files.size() == 1 && files[0]->known->name != "File_IBIS-ISS";
}

Interconnect ReadInterconnect(const Section& section)
{
    Interconnect model;
    model.section = &section;
    model.name = section.argument;
    model.place = section.place;
    for (const Setting& setting : section.settings) {
        if (setting.known->name.starts_with("File_")) {
            model.files.push_back(&setting);
        }
    }
    model.terminalCount = section.ValueOf("Number_of_terminals");
    for (const auto row : section.rows) {
        model.terminals.push_back(ReadTerminal(row));
    }
    return model;
}

InterconnectSet ReadInterconnectSet(const Section& section)
{
    InterconnectSet set{&section, section.argument, section.place, {}};
    for (const Section& child : section.children) {
        if (child.Is(Key::InterconnectModel) || child.Is(Key::EmdModel)) {
            set.models.push_back(ReadInterconnect(child));
        }
    }
    return set;
}

std::optional<InterconnectSet> FindSet(const IbisFile& file, std::span<const Word> row)
{
    const bool here = row.size() < 2 || row[1] == "NA";
    const IbisFile* const holder = here ? &file : file.neighbours->Read(row[1].Text());
    if (!holder) {
        return std::nullopt;
    }
    for (const Key key : {Key::InterconnectModelSet, Key::EmdSet}) {
        if (const Section* const set = holder->Find(key, row[0].Text())) {
            return ReadInterconnectSet(*set);
        }
    }
    return std::nullopt;
}

}  // namespace ibis
