#include "scene/PathPattern.h"

namespace scene {

namespace {

std::vector<std::string_view> namesOf(std::string_view path)
{
    std::vector<std::string_view> names;
    std::size_t start = 1;
    while (start < path.size()) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        names.push_back(path.substr(start, end - start));
        start = end + 1;
    }
    return names;
}

/// Compares a sequence with a pattern in which some places stand for any number of elements: when
/// the rest does not fit, only the last such place is tried with one element more.
template <class Fits, class IsAny>
bool matchesSequence(std::size_t patternSize, std::size_t size, const IsAny& isAny,
                     const Fits& fits)
{
    std::size_t p = 0, i = 0, afterAny = ~std::size_t(0), tried = 0;
    while (i < size) {
        if (p < patternSize && isAny(p)) {
            afterAny = ++p;
            tried = i;
        } else if (p < patternSize && fits(p, i)) {
            ++p;
            ++i;
        } else if (afterAny != ~std::size_t(0)) {
            p = afterAny;
            i = ++tried;
        } else
            return false;
    }
    while (p < patternSize && isAny(p))
        ++p;
    return p == patternSize;
}

/// A character of a pattern; a backslash makes the next one plain.
struct PatternCharacter
{
    char character;
    bool isPlain;
};

std::vector<PatternCharacter> charactersOf(std::string_view pattern)
{
    std::vector<PatternCharacter> characters;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const bool isEscape = pattern[i] == '\\' && i + 1 < pattern.size();
        i += isEscape;
        characters.push_back({pattern[i], isEscape});
    }
    return characters;
}

/// First byte of a UTF-8 character, or the bytes that follow it.
bool isContinuation(char c)
{
    return (static_cast<unsigned char>(c) & 0xc0) == 0x80;
}

} // namespace

bool matchesName(std::string_view pattern, std::string_view name)
{
    const std::vector<PatternCharacter> characters = charactersOf(pattern);
    // A "?" takes a whole character: the bytes of a name are grouped accordingly.
    std::vector<std::string_view> letters;
    for (std::size_t i = 0; i < name.size();) {
        std::size_t end = i + 1;
        while (end < name.size() && isContinuation(name[end]))
            ++end;
        letters.push_back(name.substr(i, end - i));
        i = end;
    }
    std::vector<std::string> wanted; // "*" and "?" stand for themselves, plain ones carry a mark
    for (std::size_t i = 0; i < characters.size(); ++i) {
        std::string letter(1, characters[i].character);
        while (i + 1 < characters.size() && isContinuation(characters[i + 1].character))
            letter.push_back(characters[++i].character);
        const bool isWild = letter == "*" || letter == "?";
        wanted.push_back(isWild && characters[i].isPlain ? "\\" + letter : letter);
    }
    return matchesSequence(
        wanted.size(), letters.size(), [&](std::size_t p) { return wanted[p] == "*"; },
        [&](std::size_t p, std::size_t i) {
            const std::string& letter = wanted[p];
            return letter == "?" || letter == letters[i] ||
                   (letter.size() == 2 && letter[0] == '\\' && letters[i] == letter.substr(1));
        });
}

PathPattern::PathPattern(const std::string& pattern) : text(pattern)
{
    if (!text.empty() && text[0] == '/')
        for (const std::string_view name : namesOf(text))
            names.emplace_back(name);
}

bool PathPattern::matches(std::string_view path) const
{
    if (text.empty() || text[0] != '/')
        return matchesName(text, path.substr(path.rfind('/') + 1));
    const std::vector<std::string_view> parts = namesOf(path);
    return matchesSequence(
        names.size(), parts.size(), [&](std::size_t p) { return names[p] == "**"; },
        [&](std::size_t p, std::size_t i) { return matchesName(names[p], parts[i]); });
}

bool PathPattern::isLiteral() const
{
    for (const PatternCharacter& c : charactersOf(text))
        if (!c.isPlain && (c.character == '*' || c.character == '?'))
            return false;
    return true;
}

} // namespace scene
