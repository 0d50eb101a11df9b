#include "host/pages/Html.hpp"

#include <fmt/format.h>

#include <cctype>
#include <cmath>

#include "base/Base64.hpp"
#include "base/Error.hpp"
#include "base/Files.hpp"

namespace amisim::html {
namespace {

constexpr std::string_view kStyle = R"(
:root { color-scheme: light dark; --paper: #fff; --ink: #1d222b; --faint: #5b6472; --line: #d5d9e0;
  --link: #0a5aa8; --alarm: #a61b1b }
@media (prefers-color-scheme: dark) { :root { --paper: #15181d; --ink: #e4e8ee; --faint: #9aa4b2;
  --line: #353b45; --link: #7ab8f5; --alarm: #ff8f85 } }
body { margin: 0; background: var(--paper); color: var(--ink);
  font: 15px/1.5 system-ui, "Segoe UI", Roboto, "Liberation Sans", sans-serif }
main { max-width: 82rem; margin: 0 auto; padding: 1.5rem 1.5rem 3rem }
h1 { font-size: 1.6rem; margin: 0 0 .3rem } h2 { font-size: 1.15rem; margin: 2.2rem 0 .5rem }
h3 { font-size: 1rem; margin: 1rem 0 .3rem; font-weight: 600 }
p { margin: .3rem 0 } .faint { color: var(--faint) } .alarm { color: var(--alarm) }
a { color: var(--link) }
.wide { overflow-x: auto }
table { border-collapse: collapse; font-variant-numeric: tabular-nums }
.cases, .pair { font-size: .9rem } .cases th, .pair th { text-align: left; color: var(--faint);
  font-weight: 600 }
.cases th, .cases td, .pair th, .pair td { padding: .2rem .8rem .2rem 0;
  border-bottom: 1px solid var(--line); vertical-align: top }
.cases .n, .pair .n { text-align: right } .pair td { overflow-wrap: anywhere }
.map { font-size: .72rem; border-spacing: 2px; border-collapse: separate }
.map th { font-weight: 400; color: var(--faint); padding: 0 .35rem; white-space: nowrap }
.map thead th { padding: .1rem 0 } .map tbody th { text-align: right }
.map td { padding: 0; min-width: 1.8rem; text-align: center; border-radius: 3px }
.map td a { display: block; padding: .4rem .1rem; color: inherit; text-decoration: none;
  border-radius: 3px }
.map td a:hover, .map td a:focus { outline: 2px solid var(--ink) }
.map .none { border: 1px dashed var(--line); color: var(--faint) }
.map .failed { border: 1px solid var(--alarm); color: var(--alarm); font-weight: 600 }
.scale { display: inline-block; width: 9rem; height: .7rem; border-radius: 3px; margin: 0 .5rem }
svg { display: block; width: 100%; max-width: 64rem; height: auto }
svg a circle { fill: transparent }
svg a:hover circle, svg a:focus circle { stroke: #1b2130; stroke-width: 2 }
.eyes { display: grid; grid-template-columns: repeat(auto-fit, minmax(min(36rem, 100%), 1fr));
  gap: 1rem; margin-top: .8rem }
figure { margin: 0; max-width: 60rem } figure img { width: 100%; height: auto }
@media print { :root { color-scheme: light; --paper: #fff; --ink: #000; --faint: #444;
  --line: #bbb; --link: #000; --alarm: #900 }
  @page { size: A4 landscape; margin: 12mm } main { padding: 0; max-width: none }
  * { -webkit-print-color-adjust: exact; print-color-adjust: exact }
  .map { font-size: .55rem } .map td { min-width: 0 } .map td a { padding: .3rem .1rem }
  .map th { padding: 0 .2rem } .wide { overflow: visible }
  h2, h3 { break-after: avoid } .panel, svg, tr { break-inside: avoid } a { text-decoration: none } }
)";

}  // namespace

std::string Escaped(std::string_view text)
{
    std::string result;
    for (const char c : text) {
        switch (c) {
            case '&':
                result += "&amp;";
                break;
            case '<':
                result += "&lt;";
                break;
            case '>':
                result += "&gt;";
                break;
            case '"':
                result += "&quot;";
                break;
            default:
                result += c;
        }
    }
    return result;
}

std::string Link(std::string_view path)
{
    std::string result;
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        if (std::isalnum(byte) || std::string_view("/._-=+").find(c) != std::string_view::npos)
            result += c;
        else
            result += fmt::format("%{:02X}", byte);
    }
    return result;
}

std::string Begin(std::string_view title)
{
    return fmt::format(
        "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
        "<title>{0}</title>\n<link rel=\"icon\" href=\"data:,\">\n<style>{1}</style>\n</head>\n"
        "<body>\n<main>\n<h1>{0}</h1>\n",
        Escaped(title), kStyle);
}

std::string Hex(const Colour& colour)
{
    const auto byte = [](double v) { return static_cast<int>(std::lround(v * 255)); };
    return fmt::format("#{:02x}{:02x}{:02x}", byte(colour[0]), byte(colour[1]), byte(colour[2]));
}

std::string DataUri(std::string_view bytes, std::string_view mediaType)
{
    return fmt::format("data:{};base64,{}", mediaType, Base64(bytes));
}

void RequireOwnPage(const std::filesystem::path& path, std::string_view title)
{
    std::error_code error;
    if (!std::filesystem::exists(std::filesystem::symlink_status(path, error))) return;
    // Everything up to its style is the same in all of them.
    const std::string begin = Begin(title);
    const std::size_t size = begin.find("<style>");
    if (ReadRegularFile(path, size) == begin.substr(0, size)) return;
    throw Error(path,
                "is in the way: it is no earlier page of this kind: move it, or give another "
                "--html");
}

}  // namespace amisim::html
