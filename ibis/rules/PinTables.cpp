#include "ibis/rules/PinTables.hpp"

namespace ibis {

bool IsPin(const Component& component, const Word& word, const char* table, Report& report)
{
    if (component.FindPin(word.Text())) {
        return true;
    }
    report.Count(fmt::format("{}/{}", component.place.line, table), word.Place(),
                 fmt::format("[{}] of '{}' names the pin {}, which is not in [Pin]", table,
                             component.name, word.Text()),
                 "name a pin of the component");
    return false;
}

const Model* ModelOf(const IbisFile& file, const Pin* pin)
{
    if (!pin) {
        return nullptr;
    }
    if (const Model* model = file.FindModel(pin->model.Text())) {
        return model;
    }
    const ModelSelector* const selector = file.FindSelector(pin->model.Text());
    return selector && !selector->section->rows.empty()
               ? file.FindModel(selector->section->rows[0][0].Text())
               : nullptr;
}

}  // namespace ibis
