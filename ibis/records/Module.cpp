#include "ibis/records/Module.hpp"

#include "ibis/reader/Grammar.hpp"

namespace ibis {
namespace {

template <class Function>
void ForRows(const Section& module, Key list, Function function)
{
    const Section* const section = module.Child(list);
    for (size_t i = 0; section && i < section->rows.size(); ++i) {
        function(section->rows[i]);
    }
}

}  // namespace

Module ReadModule(const Section& section)
{
    Module module;
    module.section = &section;
    module.name = section.argument;
    module.place = section.place;
    ForRows(section, Key::EmdParts, [&](std::span<const Word> row) {
        module.partsByName.try_emplace(row[0].Text(), module.parts.size());
        module.parts.push_back(ReadPart(row));
    });
    ForRows(section, Key::EmdDesignatorList, [&](std::span<const Word> row) {
        module.designatorsByName.try_emplace(row[0].Text(), module.designators.size());
        module.designators.push_back({row[0], row.size() > 1 ? row[1] : Word(), {}});
    });
    for (const Key list : {Key::EmdPinList, Key::DesignatorPinList}) {
        ForRows(section, list, [&](std::span<const Word> row) {
            module.pins.insert(row[0].Text());
            if (row.size() > 1) {
                module.signals.insert(row[1].Text());
            }
        });
    }
    ForRows(section, Key::DesignatorPinList, [&](std::span<const Word> row) {
        const std::string_view pin = row[0].Text();
        const auto found = module.designatorsByName.find(pin.substr(0, pin.find('.')));
        (found == module.designatorsByName.end() ? module.strayPins
                                                 : module.designators[found->second].pins)
            .push_back(row[0]);
    });
    return module;
}

}  // namespace ibis
