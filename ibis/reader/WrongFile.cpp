#include "ibis/reader/WrongFile.hpp"

#include <algorithm>

#include "base/TextFile.hpp"
#include "ibis/reader/SyntaxRules.hpp"

namespace ibis {

bool ReportUnreadable(std::string_view text, Findings& findings)
{
    if (text.empty()) {
        findings.Add(syntax::kReadable, {}, "the file is empty");
        return true;
    }
    if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) {
        findings.Add(syntax::kReadable, {}, "the file is in UTF-16", "save it as plain ASCII text");
        return true;
    }
    const size_t zero = text.find('\0');
    if (zero == text.npos) {
        return false;
    }
    const auto line = static_cast<int>(std::count(
                          text.begin(), text.begin() + static_cast<std::ptrdiff_t>(zero), '\n')) +
                      1;
    findings.Add(syntax::kReadable, {line, 1}, "the file holds a zero byte and is no text",
                 "fetch it again, or save it as plain text");
    const auto zeros = std::count(text.begin(), text.end(), '\0');
    return static_cast<size_t>(zeros) * 10 > text.size();
}

std::string WhatItLooksLike(std::string_view text)
{
    const std::string start = Lowercase(Trimmed(text.substr(0, 4096)));
    const auto has = [&](std::string_view what) { return start.find(what) != start.npos; };
    if (start.starts_with("pk\x03\x04")) {
        return "it looks like a zip archive; unpack it first";
    }
    if (start.starts_with("<!doctype") || start.starts_with("<html") || has("<html")) {
        return "it looks like an HTML page, maybe the error page of a download";
    }
    if (start.starts_with('(')) {
        return "it looks like an AMI tree, which belongs into an .ami file";
    }
    if (start.starts_with('#') || (start.starts_with('!') && has("\n#")) ||
        has("[number of ports]")) {
        return "it looks like a Touchstone file";
    }
    if (has(".subckt") || has("\n.model") || has("\n.lib")) {
        return "it looks like a SPICE file";
    }
    return "this is no IBIS file";
}

}  // namespace ibis
