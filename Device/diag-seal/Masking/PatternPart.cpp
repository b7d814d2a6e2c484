#include "PatternPart.h"

#include "Characters.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace DiagSeal
{
namespace
{

/** Adds a letter in both cases, as WithBothCases does. */
void AddBothCases(char c, ByteSet& bytes)
{
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x80) {
        bytes = WithBothCases(bytes.set(byte));
    } else {
        bytes.set(byte);
        bytes.set(kWord(c) && !IsDigit(c) ? byte ^ 0x20 : byte);
    }
}

/** Of two parts that take bytes: what is known of the first bytes of both, and of all others. */
Continuation StepsOfEither(const PatternPart& a, const PatternPart& b, const PatternPart& either)
{
    Continuation ofA;
    Continuation ofB;
    Continue(ofA, a);
    Continue(ofB, b);
    const std::size_t size = std::min(ofA.FixedSize(), ofB.FixedSize());
    Continuation steps;
    for (std::size_t i = 0; i < size; ++i) {
        steps.Add(ofA.At(i) | ofB.At(i), false);
    }
    if (!either.isFixed || size < either.size) {
        steps.AddOptional(either.bytes, true);
    }
    return steps;
}

} // namespace

ByteSet BytesOf(bool (*predicate)(char))
{
    ByteSet bytes;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = predicate(static_cast<char>(i));
    }
    return bytes;
}

ByteSet WithBothCases(ByteSet bytes)
{
    static const ByteSet kBeyondAscii = ByteSet().set() << 0x80;
    static const ByteSet kUpper = BytesOf([](char c) { return c >= 'A' && c <= 'Z'; });
    static const ByteSet kLower = kUpper << 0x20;
    if ((bytes & kBeyondAscii).any()) {
        bytes |= kBeyondAscii;
    }
    return bytes | (bytes & kUpper) << 0x20 | (bytes & kLower) >> 0x20;
}

void Continue(Continuation& next, const PatternPart& part)
{
    const bool isText = part.exact && part.exact->size() == 1 && part.size > 1 && !part.repeats;
    if (part.steps) {
        next.Append(*part.steps);
    } else if (isText) {
        for (const char c : part.exact->front()) {
            ByteSet bytes;
            AddBothCases(c, bytes);
            next.Add(bytes, false);
        }
    } else if (part.mayBeEmpty && part.first.any() && part.first != part.bytes) {
        next.AddOptionalGroup(part.first, part.bytes);
    } else if (part.mayBeEmpty) {
        next.AddOptional(part.bytes, part.size != 1);
    } else if (part.first == part.bytes) {
        next.Add(part.bytes, part.size != 1);
    } else {
        next.Add(part.first, false);
        next.AddOptional(part.bytes, true);
    }
}

PatternPart PartOfText(std::string text)
{
    PatternPart part;
    part.size = text.size();
    part.isFixed = true;
    part.mayBeEmpty = text.empty();
    part.bytes.reset();
    part.first.reset();
    part.last.reset();
    for (const char c : text) {
        part.last.reset();
        AddBothCases(c, part.last);
        part.first = part.bytes.none() ? part.last : part.first;
        part.bytes |= part.last;
    }
    part.onePass = OnePass::OfText(text, part.first);
    part.exact.emplace().push_back(std::move(text));
    return part;
}

PatternPart PartOfOneByte(const ByteSet& bytes)
{
    PatternPart part;
    part.size = 1;
    part.isFixed = true;
    part.mayBeEmpty = false;
    part.first = part.last = part.bytes = WithBothCases(bytes);
    part.onePass = OnePass::OfOneByte(part.first);
    return part;
}

PatternPart AssertionPart(const ByteSet& behind)
{
    PatternPart part = PartOfText("");
    part.assertion = behind;
    return part;
}

PatternPart OptionalPart(PatternPart part)
{
    part.onePass.MakeOptional();
    part.exact.reset();
    part.required.clear();
    part.mayBeEmpty = true;
    part.isFixed = false;
    part.assertion.reset();
    part.steps.reset();
    return part;
}

PatternPart RepeatedPart(PatternPart part)
{
    part.onePass.Repeat();
    part.repeats = true;
    part.size = kUnbounded;
    part.isFixed = false;
    part.assertion.reset();
    std::for_each(part.required.begin(), part.required.end(), CloseAll);
    part.steps.reset();
    return part;
}

PatternPart EitherPart(PatternPart a, PatternPart b)
{
    PatternPart either;
    either.onePass = std::move(a.onePass);
    either.onePass.AddAlternative(b.onePass);
    either.size = std::max(a.size, b.size);
    either.isFixed = a.isFixed && b.isFixed && a.size == b.size;
    either.mayBeEmpty = a.mayBeEmpty || b.mayBeEmpty;
    either.first = a.first | b.first;
    either.last = a.last | b.last;
    either.bytes = a.bytes | b.bytes;
    if (!a.mayBeEmpty && !b.mayBeEmpty) {
        either.steps = StepsOfEither(a, b, either);
    }
    if (a.assertion && b.isFixed && b.size == 1) {
        either.assertion = *a.assertion | b.bytes;
    } else if (a.exact && b.exact && a.exact->size() + b.exact->size() <= kMaxTexts) {
        either.exact = std::move(a.exact);
        std::move(b.exact->begin(), b.exact->end(), std::back_inserter(*either.exact));
    } else {
        either.required = RequiredByEither(RequiredByPart(std::move(a)), RequiredByPart(std::move(b)));
    }
    return either;
}

RequiredLists RequiredByPart(PatternPart part)
{
    if (part.exact) {
        RequiredTexts list;
        for (std::string& text : *part.exact) {
            list.texts.push_back({std::move(text), 0, true});
        }
        AddIfRare(std::move(list), part.required);
    }
    return Rarest(std::move(part.required));
}

} // namespace DiagSeal
