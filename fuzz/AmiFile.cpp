// Any text as an .ami file: records and findings, each finding one line, and a parameter string or
// one line that says what is wrong.

#include "fuzz/Fuzz.hpp"
#include "ibis/ami/CheckAmi.hpp"
#include "ibis/ami/ParameterString.hpp"
#include "ibis/ami/ParameterTable.hpp"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ibis::Findings findings("fuzz.ami");
    const ibis::AmiFile file = ibis::ParseAmiText(Text(data, size), "fuzz.ami", findings);
    ibis::CheckAmi(file, {70, ibis::AmiDirection::Rx, false, {}}, findings);
    bool hasError = false;
    for (const ibis::Finding& finding : findings.Take()) {
        Require(finding.Line().starts_with("fuzz.ami:") &&
                    finding.Line().find('\n') == std::string::npos,
                "a finding is one line");
        hasError = hasError || finding.severity == ibis::Severity::Error;
    }
    Require(hasError || !file.fault, "what cannot be used has an error");
    for (const ibis::AmiParameter& parameter : file.parameters) {
        Require(!parameter.name.empty() && parameter.place.line > 0,
                "a parameter has name and line");
        Require(!parameter.AllowedValues().empty(), "what it admits can be told");
        Require(hasError || !parameter.fault, "what cannot be sent has an error");
        static_cast<void>(file.Find(parameter.Path()));
    }
    static_cast<void>(ibis::ParameterTable(file));
    ReadOrExplain<base::Error>("fuzz.ami", [&] {
        const std::string text = ibis::ParameterString(file);
        Require(text.starts_with("(" + file.rootName), "a parameter string begins with the root");
    });
    return 0;
}
