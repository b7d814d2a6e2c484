#include "RequiredTexts.h"

#include "Characters.h"

#include <algorithm>
#include <utility>

namespace DiagSeal
{
namespace
{

constexpr std::size_t kLong = 3; // bytes
constexpr std::size_t kMaxLists = 4;

bool IsEverywhere(const RequiredText& required)
{
    const std::string& text = required.text;
    const bool isLong = text.size() >= kLong && text.find_first_not_of(' ') != std::string::npos;
    return !isLong && std::all_of(text.begin(), text.end(), [](char c) { return c == ' ' || IsWord(c); });
}

std::size_t ShortestSize(const RequiredTexts& list)
{
    const auto isShorter = [](const RequiredText& a, const RequiredText& b) { return a.text.size() < b.text.size(); };
    return std::min_element(list.texts.begin(), list.texts.end(), isShorter)->text.size();
}

/** Whether its texts tell where a match begins. */
bool TellsPlace(const RequiredTexts& list)
{
    return ShortestSize(list) >= kLong &&
           std::all_of(list.texts.begin(), list.texts.end(), [](const RequiredText& text) { return text.isFixed; });
}

bool IsRarer(const RequiredTexts& a, const RequiredTexts& b)
{
    if (TellsPlace(a) != TellsPlace(b)) {
        return TellsPlace(a);
    }
    const std::size_t sizeOfA = ShortestSize(a);
    const std::size_t sizeOfB = ShortestSize(b);
    return sizeOfA != sizeOfB ? sizeOfA > sizeOfB : a.texts.size() < b.texts.size();
}

bool Holds(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

/** Whether each of the list's texts holds one of the other's. */
bool Implies(const RequiredTexts& list, const RequiredTexts& other)
{
    return std::all_of(list.texts.begin(), list.texts.end(), [&other](const RequiredText& text) {
        return std::any_of(other.texts.begin(), other.texts.end(),
                           [&text](const RequiredText& part) { return Holds(text.text, part.text); });
    });
}

/** Whether it may stand anywhere. */
bool IsFreeText(const RequiredText& required)
{
    return required.previous.all() && required.next.AllowsAnything();
}

RequiredTexts WithoutLonger(const RequiredTexts& list)
{
    RequiredTexts simple{{}, list.order};
    std::size_t moved = 0; // bytes of a text before the one that it holds, at most
    std::size_t before = 0;
    for (const RequiredText& text : list.texts) {
        const auto isHeld = [&text](const RequiredText& other) {
            if (other.text.size() >= text.text.size()) {
                return &other < &text && other == text;
            }
            return Holds(text.text, other.text) && IsFreeText(other);
        };
        if (std::any_of(list.texts.begin(), list.texts.end(), isHeld)) {
            moved = std::max(moved, text.text.size());
            before = std::max(before, text.before);
        } else {
            simple.texts.push_back(text);
        }
    }
    for (RequiredText& text : simple.texts) {
        text.isFixed = text.isFixed && moved == 0;
        text.before = moved == 0 ? text.before : BoundedSum(std::max(text.before, before), moved);
    }
    return simple;
}

} // namespace

void AddIfRare(RequiredTexts list, RequiredLists& lists)
{
    if (std::none_of(list.texts.begin(), list.texts.end(), IsEverywhere)) {
        lists.push_back(std::move(list));
    }
}

RequiredLists Rarest(RequiredLists lists)
{
    std::stable_sort(lists.begin(), lists.end(), IsRarer);
    lists.resize(std::min(lists.size(), kMaxLists));
    return lists;
}

RequiredLists RequiredByEither(RequiredLists a, RequiredLists b)
{
    RequiredLists& longer = a.size() < b.size() ? b : a;
    RequiredLists& shorter = a.size() < b.size() ? a : b;
    RequiredLists lists;
    for (std::size_t i = 0; !shorter.empty() && i < longer.size(); ++i) {
        const RequiredTexts& other = shorter[std::min(i, shorter.size() - 1)];
        if (longer[i].texts.size() + other.texts.size() <= kMaxTexts) {
            lists.push_back({std::move(longer[i].texts), 0});
            lists.back().texts.insert(lists.back().texts.end(), other.texts.begin(), other.texts.end());
        }
    }
    return lists;
}

void CloseAll(RequiredTexts& list)
{
    for (RequiredText& text : list.texts) {
        text.next.Close();
    }
}

RequiredLists WithoutRedundant(const RequiredLists& lists)
{
    RequiredLists all;
    for (const RequiredTexts& list : lists) {
        const auto implies = [&list](const RequiredTexts& known) { return Implies(known, list); };
        if (std::none_of(all.begin(), all.end(), implies)) {
            all.push_back(WithoutLonger(list));
        }
    }
    return all;
}

} // namespace DiagSeal
