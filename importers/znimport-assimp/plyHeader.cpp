#include "plyHeader.h"

#include <algorithm>
#include <array>
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

bool isType(const std::string& word)
{
    const std::array types = {"char",  "uchar",  "short",   "ushort", "int",   "uint",
                              "float", "double", "int8",    "uint8",  "int16", "uint16",
                              "int32", "uint32", "float32", "float64"};
    return std::find(types.begin(), types.end(), word) != types.end();
}

bool isCount(const std::string& word)
{
    return !word.empty() && word.size() < 12 && word.find_first_not_of("0123456789") == word.npos;
}

bool isUsual(const std::vector<std::string>& words)
{
    if (words.empty() || words[0] == "comment" || words[0] == "obj_info")
        return true;
    if (words[0] == "format")
        return words.size() == 3 && words[2] == "1.0" &&
               (words[1] == "ascii" || words[1] == "binary_little_endian" ||
                words[1] == "binary_big_endian");
    if (words[0] == "element")
        return words.size() == 3 && isCount(words[2]);
    if (words[0] != "property")
        return false;
    if (words.size() == 5 && words[1] == "list")
        return isType(words[2]) && isType(words[3]);
    return words.size() == 3 && isType(words[1]);
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

} // namespace

void checkPlyHeader(io::InputFile& file)
{
    if (wordsOf(lineOf(file)) != std::vector<std::string>{"ply"})
        file.fail("is no PLY file");
    for (int number = 2; file.getPosition() < longestHeader; ++number) {
        const std::vector<std::string> words = wordsOf(lineOf(file));
        if (words == std::vector<std::string>{"end_header"})
            return;
        if (!isUsual(words))
            file.fail("damaged PLY: line " + std::to_string(number) + " of the header");
    }
    file.fail("damaged PLY: its header has no end");
}
