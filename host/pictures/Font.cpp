#include "host/pictures/Font.hpp"

#include <cairo-ft.h>

#include <map>

#include "base/Error.hpp"
#include "base/Printable.hpp"

// The font's file becomes part of the program.
asm(".pushsection .rodata\n"
    "amisim_font: .incbin \"" AMISIM_FONT
    "\"\n"
    "amisim_font_end:\n"
    ".popsection\n");
extern "C" const unsigned char amisim_font[], amisim_font_end[];

namespace amisim::font {
namespace {

constexpr std::string_view kEllipsis = "…";

cairo_font_face_t* Face()
{
    FT_Library library = nullptr;
    FT_Face face = nullptr;
    if (FT_Init_FreeType(&library) != 0 ||
        FT_New_Memory_Face(library, amisim_font, amisim_font_end - amisim_font, 0, &face) != 0)
        throw Error(ExitCode::kInternal, "the font of the pictures cannot be read");
    return cairo_ft_font_face_create_for_ft_face(face, 0);
}

/// Where the UTF-8 character before a place begins.
std::size_t Before(std::string_view text, std::size_t place)
{
    do --place;
    while (place > 0 && (text[place] & 0xc0) == 0x80);
    return place;
}

}  // namespace

cairo_scaled_font_t* At(double size)
{
    // They live as long as the program: there are few sizes.
    static cairo_font_face_t* const face = Face();
    static std::map<double, cairo_scaled_font_t*> fonts;
    cairo_scaled_font_t*& font = fonts[size];
    if (!font) {
        cairo_font_options_t* options = cairo_font_options_create();
        cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
        cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
        cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
        cairo_matrix_t scale, identity;
        cairo_matrix_init_scale(&scale, size, size);
        cairo_matrix_init_identity(&identity);
        font = cairo_scaled_font_create(face, &scale, &identity, options);
        cairo_font_options_destroy(options);
    }
    return font;
}

double Width(std::string_view text, double size)
{
    cairo_text_extents_t extents;
    cairo_scaled_font_text_extents(At(size), std::string(text).c_str(), &extents);
    return extents.x_advance;
}

std::string Drawable(std::string_view text)
{
    constexpr std::size_t kMostBytes = 2000;  // more than any picture has room for
    std::string line = base::Printable(base::Shortened(text, kMostBytes));
    for (char& c : line) {
        if (c == '\n' || c == '\t') c = ' ';
    }
    return line;
}

std::string Shortened(std::string_view text, double size, double room)
{
    std::string whole = Drawable(text);
    if (Width(whole, size) <= room) return whole;
    const double left = room - Width(kEllipsis, size);
    std::size_t length = whole.size();
    while (length > 0 && Width(std::string_view(whole).substr(0, length), size) > left)
        length = Before(whole, length);
    return whole.substr(0, whole.find_last_not_of(' ', length - (length > 0)) + (length > 0))
        .append(kEllipsis);
}

std::vector<std::string> Wrapped(std::string_view text, double size, double room, int most)
{
    std::string rest = Drawable(text);
    std::vector<std::string> lines;
    while (!rest.empty()) {
        std::size_t end = rest.size();
        while (end != std::string::npos && end > 0 && Width(rest.substr(0, end), size) > room)
            end = rest.rfind(' ', end - 1);
        if (static_cast<int>(lines.size()) + 1 == most || end == std::string::npos || end == 0) {
            lines.push_back(Shortened(rest, size, room));
            break;
        }
        lines.push_back(rest.substr(0, end));
        rest.erase(0, end + 1);
    }
    return lines;
}

}  // namespace amisim::font
