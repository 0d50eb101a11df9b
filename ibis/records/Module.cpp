#include "ibis/records/Module.hpp"

#include "ibis/reader/Grammar.hpp"

namespace ibis {
Module ReadModule(const Section& section)
{
    Module module;
    module.section = &section;
    module.name = section.argument;
    module.place = section.place;
    for (const auto row : section.RowsOf(Key::EmdParts)) {
        module.partsByName.try_emplace(row[0].Text(), module.parts.size());
        module.parts.push_back(ReadPart(row));
    }
    for (const auto row : section.RowsOf(Key::EmdDesignatorList)) {
        module.designatorsByName.try_emplace(row[0].Text(), module.designators.size());
        module.designators.push_back({row[0], row.size() > 1 ? row[1] : Word(), {}});
    }
    for (const Key list : {Key::EmdPinList, Key::DesignatorPinList}) {
        for (const auto row : section.RowsOf(list)) {
            module.pins.insert(row[0].Text());
            if (row.size() > 1) {
                module.signals.insert(row[1].Text());
            }
        }
    }
    for (const auto row : section.RowsOf(Key::DesignatorPinList)) {
        const std::string_view pin = row[0].Text();
        const auto found = module.designatorsByName.find(pin.substr(0, pin.find('.')));
        (found == module.designatorsByName.end() ? module.strayPins
                                                 : module.designators[found->second].pins)
            .push_back(row[0]);
    }
    return module;
}

}  // namespace ibis
