#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace DfsReport
{

/** What a template shows: names with texts, conditions and lists. Not thread-safe. */
class View
{
public:
    View& Set(const std::string& name, const std::string& text);
    View& Set(const std::string& name, const char* text) { return Set(name, std::string(text)); }
    View& Set(const std::string& name, bool isShown);
    View& Set(const std::string& name, std::vector<View> list);

    const std::map<std::string, std::string>& Texts() const { return m_texts; }
    const std::map<std::string, bool>& Conditions() const { return m_conditions; }
    const std::map<std::string, std::vector<View>>& Lists() const { return m_lists; }

private:
    std::map<std::string, std::string> m_texts;
    std::map<std::string, bool> m_conditions;
    std::map<std::string, std::vector<View>> m_lists;
};

/** Takes the next bytes of a page. */
using PageSink = std::function<void(std::string_view)>;

/**
 * Fills a Mustache template, mustache(5): {{name}} is escaped by Markup, {{{name}}} is not.
 *
 * @throws std::logic_error when the template, which is compiled in, is none
 */
void Render(const char* source, const View& view, const PageSink& page);

} // namespace DfsReport
