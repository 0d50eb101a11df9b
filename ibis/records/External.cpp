#include "ibis/records/External.hpp"

#include "base/TextFile.hpp"
#include "ibis/reader/Grammar.hpp"

namespace ibis {
namespace {

External::Converter ReadConverter(const Setting& setting, std::size_t numbers)
{
    const auto values = setting.Values();
    const auto stated = values.subspan(3, numbers);
    return {setting.known->name, setting.Place(), values[0],
            values[1],           values[2],       {stated.begin(), stated.end()},
            values[3 + numbers]};
}

}  // namespace

bool External::IsAnalogue() const
{
    return language == "spice" || language == "ibis-iss" || language.ends_with("-a(ms)");
}

External ReadExternal(const Section& section)
{
    External external;
    external.section = &section;
    external.language = Lowercase(section.WordOf("Language").Text());
    for (const Setting& setting : section.settings) {
        const std::string_view name = setting.known->name;
        const auto values = setting.Values();
        const std::size_t numbers = name == "D_to_A" ? 4 : 2;
        if (name == "Corner" && values.size() >= 3) {
            const bool whole = values.size() == 3;  // else a name has blanks in it
            external.corners.push_back(
                {values[0], whole ? values[1] : Word(), whole ? values[2] : Word()});
        } else if (name == "Ports") {
            external.ports.insert(external.ports.end(), values.begin(), values.end());
        } else if (name == "Converter_Parameters" && !values.empty()) {
            external.converterParameters.insert(values[0].Text());
        } else if ((name == "D_to_A" || name == "A_to_D") && values.size() >= 4 + numbers) {
            external.converters.push_back(ReadConverter(setting, numbers));
        }
    }
    for (const Word& port : external.ports) {
        external.portNames.insert(port.Text());
    }
    return external;
}

}  // namespace ibis
