#include "checkPly.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr u64 longestHeader = 1 << 20;

std::vector<std::string> wordsOf(const std::string& line)
{
    std::istringstream stream(line);
    std::vector<std::string> words;
    for (std::string word; stream >> word;)
        words.push_back(word);
    return words;
}

/// Bytes of a scalar in the binary forms; 0 for what is no type.
u64 sizeOf(const std::string& type)
{
    static const std::map<std::string, u64> s_sizes = {
        {"char", 1},  {"uchar", 1},   {"int8", 1},   {"uint8", 1},  {"short", 2}, {"ushort", 2},
        {"int16", 2}, {"uint16", 2},  {"int", 4},    {"uint", 4},   {"int32", 4}, {"uint32", 4},
        {"float", 4}, {"float32", 4}, {"double", 8}, {"float64", 8}};
    const auto found = s_sizes.find(type);
    return found == s_sizes.end() ? 0 : found->second;
}

bool isCount(const std::string& word)
{
    return !word.empty() && word.size() < 12 && word.find_first_not_of("0123456789") == word.npos;
}

struct Property
{
    u64 size = 0;                          ///< bytes of a value
    u64 countSize = 0;                     ///< bytes of the number before a list; 0: one value
    bool isSigned = false, isReal = false; ///< of that number
};

struct Element
{
    u64 count = 0;
    std::vector<Property> properties;

    /// Bytes of the properties that are no lists, and of the numbers before lists.
    u64 leastSize() const
    {
        u64 size = 0;
        for (const Property& property : properties)
            size += property.countSize ? property.countSize : property.size;
        return size;
    }
    bool hasLists() const
    {
        return std::any_of(properties.begin(), properties.end(),
                           [](const Property& property) { return property.countSize > 0; });
    }
};

struct Header
{
    std::string format;
    std::vector<Element> elements;
};

/// @return whether the line is one of a header
bool take(const std::vector<std::string>& words, Header& header)
{
    if (words.empty() || words[0] == "comment" || words[0] == "obj_info")
        return true;
    if (words[0] == "format") {
        header.format = words.size() > 1 ? words[1] : "";
        return words.size() == 3 && words[2] == "1.0" &&
               (header.format == "ascii" || header.format == "binary_little_endian" ||
                header.format == "binary_big_endian");
    }
    if (words[0] == "element") {
        if (words.size() != 3 || !isCount(words[2]))
            return false;
        header.elements.push_back({std::stoull(words[2]), {}});
        return true;
    }
    const bool isList = words.size() == 5 && words[1] == "list";
    if (words[0] != "property" || (words.size() != 3 && !isList) || header.elements.empty())
        return false;
    Property property;
    property.size = sizeOf(words[isList ? 3 : 1]);
    if (isList) {
        property.countSize = sizeOf(words[2]);
        property.isReal = words[2][0] == 'f' || words[2][0] == 'd';
        property.isSigned = words[2][0] != 'u';
        if (property.countSize == 0)
            return false;
    }
    header.elements.back().properties.push_back(property);
    return property.size > 0;
}

std::string lineOf(io::InputFile& file)
{
    std::string line;
    for (char c = 0; file.getPosition() < longestHeader;) {
        if (file.read(&c, 1) != 1)
            file.fail("damaged PLY: its header has no end");
        if (c == '\n')
            break;
        line += c;
    }
    return line;
}

Header readHeader(io::InputFile& file)
{
    if (wordsOf(lineOf(file)) != std::vector<std::string>{"ply"})
        file.fail("is no PLY file");
    Header header;
    for (int number = 2; file.getPosition() < longestHeader; ++number) {
        const std::vector<std::string> words = wordsOf(lineOf(file));
        if (words == std::vector<std::string>{"end_header"})
            return header;
        if (!take(words, header))
            file.fail("damaged PLY: line " + std::to_string(number) + " of the header");
    }
    file.fail("damaged PLY: its header has no end");
}

/// Every element of the text form has a line of its own.
void checkLines(io::InputFile& file, const Header& header)
{
    u64 expected = 0, found = 0;
    for (const Element& element : header.elements)
        expected += element.properties.empty() ? 0 : element.count;
    std::vector<char> block(64 * 1024);
    bool isInLine = false;
    for (std::size_t size; found < expected && (size = file.read(block.data(), block.size())) > 0;)
        for (std::size_t i = 0; i < size; ++i) {
            const bool isEnd = block[i] == '\n' || block[i] == '\r';
            found += isEnd && isInLine;
            isInLine = !isEnd && (isInLine || (block[i] != ' ' && block[i] != '\t'));
        }
    found += isInLine;
    if (found < expected)
        file.fail("damaged PLY: ends after " + std::to_string(found) + " of " +
                  std::to_string(expected) + " elements");
}

/// The number in front of a list. Real numbers are no counts.
u64 readCount(io::InputFile& file, const Property& property, bool isBig)
{
    u8 bytes[8] = {};
    file.readExactly(bytes, property.countSize);
    if (isBig)
        std::reverse(bytes, bytes + property.countSize);
    u64 count = 0;
    for (u64 i = 0; i < property.countSize; ++i)
        count |= u64(bytes[i]) << 8 * i;
    const bool isNegative = property.isSigned && count >> (8 * property.countSize - 1) != 0;
    if (property.isReal || isNegative)
        file.fail("damaged PLY: a list whose length is no whole number");
    return count;
}

/// Walks over the binary form; a list says only in front of itself how long it is.
void checkBytes(io::InputFile& file, const Header& header)
{
    const auto skip = [&](u64 count, u64 size) {
        if (size > 0 && count > (file.getSize() - file.getPosition()) / size)
            file.fail("damaged PLY: ends too early");
        file.seek(file.getPosition() + count * size);
    };
    const bool isBig = header.format == "binary_big_endian";
    for (const Element& element : header.elements) {
        const u64 start = file.getPosition();
        skip(element.count, element.leastSize());
        if (!element.hasLists())
            continue;
        file.seek(start);
        for (u64 i = 0; i < element.count; ++i)
            for (const Property& property : element.properties)
                skip(property.countSize ? readCount(file, property, isBig) : 1, property.size);
    }
}

} // namespace

void checkPly(io::InputFile& file)
{
    const Header header = readHeader(file);
    if (header.format == "ascii")
        checkLines(file, header);
    else
        checkBytes(file, header);
}
