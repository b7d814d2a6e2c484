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

bool IsEverywhere(const std::string& text)
{
    const bool isLong = text.size() >= kLong && text.find_first_not_of(' ') != std::string::npos;
    return !isLong && std::all_of(text.begin(), text.end(), [](char c) { return c == ' ' || IsWord(c); });
}

std::size_t ShortestSize(const RequiredTexts& list)
{
    const auto isShorter = [](const std::string& a, const std::string& b) { return a.size() < b.size(); };
    return std::min_element(list.texts.begin(), list.texts.end(), isShorter)->size();
}

bool IsRarer(const RequiredTexts& a, const RequiredTexts& b)
{
    const std::size_t sizeOfA = ShortestSize(a);
    const std::size_t sizeOfB = ShortestSize(b);
    return sizeOfA != sizeOfB ? sizeOfA > sizeOfB : a.texts.size() < b.texts.size();
}

bool Holds(const std::string& text, const std::string& part)
{
    return part.size() <= text.size() && text.find(part) != std::string::npos;
}

/** Whether each of the list's texts holds one of the other's. */
bool Implies(const RequiredTexts& list, const RequiredTexts& other)
{
    return std::all_of(list.texts.begin(), list.texts.end(), [&other](const std::string& text) {
        return std::any_of(other.texts.begin(), other.texts.end(),
                           [&text](const std::string& part) { return Holds(text, part); });
    });
}

RequiredTexts WithoutLonger(const RequiredTexts& list)
{
    RequiredTexts simple{{}, list.before, list.order};
    std::size_t moved = 0; // bytes of a text before the one that it holds, at most
    for (const std::string& text : list.texts) {
        const auto isHeld = [&text](const std::string& other) {
            return (other.size() < text.size() || &other < &text) && Holds(text, other);
        };
        if (std::any_of(list.texts.begin(), list.texts.end(), isHeld)) {
            moved = std::max(moved, text.size());
        } else {
            simple.texts.push_back(text);
        }
    }
    simple.before = BoundedSum(list.before, moved);
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

RequiredLists RequiredByEither(const RequiredLists& a, const RequiredLists& b)
{
    RequiredLists lists;
    for (std::size_t i = 0; !a.empty() && !b.empty() && i < std::max(a.size(), b.size()); ++i) {
        const RequiredTexts& one = a[std::min(i, a.size() - 1)];
        const RequiredTexts& other = b[std::min(i, b.size() - 1)];
        if (one.texts.size() + other.texts.size() <= kMaxTexts) {
            lists.push_back({one.texts, std::max(one.before, other.before), 0});
            lists.back().texts.insert(lists.back().texts.end(), other.texts.begin(), other.texts.end());
        }
    }
    return lists;
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
