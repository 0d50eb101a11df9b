#include "ibis/records/Section.hpp"

#include <algorithm>

#include "ibis/reader/Grammar.hpp"
#include "ibis/reader/Number.hpp"

namespace ibis {
namespace {

Triple CornersFrom(Place place, std::span<const Word> words)
{
    Triple triple;
    triple.place = place;
    triple.columns = static_cast<int>(words.size());
    double* const values[] = {&triple.at.typ, &triple.at.min, &triple.at.max};
    for (size_t i = 0; i < std::min<size_t>(words.size(), 3); ++i) {
        *values[i] = ParseNumber(words[i].Text()).value;
    }
    return triple;
}

}  // namespace

bool Section::Is(Key key) const
{
    return keyword && keyword->key == key;
}

const Section* Section::Child(Key key) const
{
    const auto found = std::find_if(children.begin(), children.end(),
                                    [key](const Section& child) { return child.Is(key); });
    return found == children.end() ? nullptr : &*found;
}

const Rows& Section::RowsOf(Key key) const
{
    static const Rows none;
    const Section* const child = Child(key);
    return child ? child->rows : none;
}

std::vector<const Section*> Section::Children(Key key) const
{
    std::vector<const Section*> found;
    for (const Section& child : children) {
        if (child.Is(key)) {
            found.push_back(&child);
        }
    }
    return found;
}

const Setting* Section::Find(std::string_view name) const
{
    const auto found =
        std::find_if(settings.begin(), settings.end(),
                     [name](const Setting& setting) { return setting.known->name == name; });
    return found == settings.end() ? nullptr : &*found;
}

Triple Section::ArgumentCorners() const
{
    return CornersFrom(place, arguments);
}

Triple Section::CornersOf(std::string_view name) const
{
    const Setting* const setting = Find(name);
    return setting ? CornersFrom(setting->Place(), setting->Values()) : Triple{};
}

Value Section::ValueOf(std::string_view name) const
{
    const Setting* const setting = Find(name);
    return setting ? Value{setting->Place(), ParseNumber(setting->First().Text()).value} : Value{};
}

Word Section::WordOf(std::string_view name) const
{
    const Setting* const setting = Find(name);
    return setting ? setting->First() : Word();
}

}  // namespace ibis
