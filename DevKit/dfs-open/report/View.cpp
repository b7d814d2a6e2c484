#include "View.h"

#include "Markup.h"

#include <kainjow/mustache.hpp>

#include <stdexcept>
#include <utility>

namespace DfsReport
{

namespace
{

using kainjow::mustache::data;

data ToData(const View& view)
{
    data object(data::type::object);
    for (const auto& [name, text] : view.Texts()) {
        object.set(name, text);
    }
    for (const auto& [name, isShown] : view.Conditions()) {
        object.set(name, isShown);
    }
    for (const auto& [name, list] : view.Lists()) {
        data entries(data::type::list);
        for (const View& entry : list) {
            entries.push_back(ToData(entry));
        }
        object.set(name, entries);
    }
    return object;
}

} // namespace

View& View::Set(const std::string& name, const std::string& text)
{
    m_texts[name] = text;
    return *this;
}

View& View::Set(const std::string& name, bool isShown)
{
    m_conditions[name] = isShown;
    return *this;
}

View& View::Set(const std::string& name, std::vector<View> list)
{
    m_lists[name] = std::move(list);
    return *this;
}

void Render(const char* source, const View& view, const PageSink& page)
{
    kainjow::mustache::mustache filled(source);
    filled.set_custom_escape(Markup::Escape);
    filled.render(ToData(view), [&page](const std::string& text) { page(text); });
    if (!filled.is_valid()) {
        throw std::logic_error("a template of the report: " + filled.error_message());
    }
}

} // namespace DfsReport
