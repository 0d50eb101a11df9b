#include "ibis/reader/SectionReader.hpp"

#include <fmt/format.h>

#include "ibis/reader/Grammar.hpp"
#include "ibis/reader/LineReader.hpp"
#include "ibis/reader/SyntaxRules.hpp"
#include "ibis/reader/WrongFile.hpp"

namespace ibis {
LineReader::LineReader(const std::string& text, Findings& findings)
    : lines_(text), findings_(findings)
{
    stack_.emplace_back().keyword = &KeywordOf(Key::File);
}

void LineReader::Run(Document& document)
{
    while (lines_.Next()) {
        if (lines_.Text().empty() && !lines_.Whole().starts_with('[')) {
            continue;
        }
        if (ended_) {
            findings_.Count(syntax::kAfterEnd, "", lines_.Place(), "text after [End] is not read",
                            "remove it, or put it into a file of its own");
        } else if (lines_.Text().starts_with('[') || lines_.Whole().starts_with('[')) {
            ReadKeyword();
        } else if (!skipping_) {
            ReadData();
        }
    }
    Finish(document);
}

void LineReader::Finish(Document& document)
{
    CloseTo(1);
    if (!sawKeyword_) {
        findings_.Add(syntax::kIsIbis, {},
                      fmt::format("no keyword [IBIS Ver]: {}", WhatItLooksLike(*document.text)),
                      "name a file of the IBIS standard");
    } else if (!ended_) {
        findings_.Add(
            syntax::kEnd, {lines_.Number(), 1},
            fmt::format("the file has no [End]{}",
                        lines_.CutOff() ? "; its last line has no line end, as after a download "
                                          "that was cut off"
                                        : ""),
            "write [End] as the last line, and look whether something is missing before it");
    }
    lines_.Report(version_, findings_);
    document.version = version_;
    document.isIbis = sawKeyword_;
    document.lines = lines_.Number();
    document.root = std::move(stack_.front());
}

Document ReadSections(std::shared_ptr<const std::string> text, const std::filesystem::path& path,
                      Findings& findings)
{
    Document document;
    document.path = path;
    document.text = std::move(text);
    if (ReportUnreadable(*document.text, findings)) {
        document.root.keyword = &KeywordOf(Key::File);
        return document;
    }
    LineReader(*document.text, findings).Run(document);
    return document;
}

}  // namespace ibis
