#include "io/LookDocument.h"

#include "host/znLog.h"
#include "io/InputError.h"
#include "io/jsonText.h"

#include <algorithm>
#include <fmt/format.h>
#include <tuple>

namespace io {

namespace {

/// Characters of a text; each step forward is told.
class WatchedCharacters
{
public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    WatchedCharacters() = default;
    WatchedCharacters(const char* at_, const char** farthest_) : at(at_), farthest(farthest_) {}

    const char& operator*() const { return *at; }
    WatchedCharacters& operator++()
    {
        *farthest = ++at;
        return *this;
    }
    WatchedCharacters operator++(int)
    {
        const WatchedCharacters before = *this;
        ++*this;
        return before;
    }
    bool operator==(const WatchedCharacters& other) const { return at == other.at; }

private:
    const char* at = nullptr;
    const char** farthest = nullptr;
};

/// Builds the tree from the events of the parser. Anything that it refuses is kept as the fault.
class TreeBuilder
{
public:
    using Kind = LookValue::Kind;

    TreeBuilder(LookValue& root, std::string_view text_, u64 deepest_)
        : text(text_), at(text_.data()), deepest(deepest_)
    {
        open.push_back(&root);
    }

    bool null() { return add(Kind::null, 1) != nullptr; }
    bool boolean(bool value)
    {
        if (LookValue* const added = add(Kind::boolean, 1))
            added->flag = value;
        return fault.empty();
    }
    bool number_integer(std::int64_t value) { return number(double(value)); }
    bool number_unsigned(u64 value) { return number(double(value)); }
    bool number_float(double value, const std::string&) { return number(value); }
    bool string(std::string& value)
    {
        if (LookValue* const added = add(Kind::string, 1))
            added->text = std::move(value);
        return fault.empty();
    }
    bool binary(std::vector<u8>&) { return false; }
    bool start_object(std::size_t) { return start(Kind::object); }
    bool start_array(std::size_t) { return start(Kind::array); }
    bool key(std::string& value)
    {
        nextKey = std::move(value);
        return true;
    }
    bool end_object() { return hasSingleKeys(*open.back()) && end(); }
    bool end_array() { return end(); }
    bool parse_error(std::size_t position, const std::string&, const nlohmann::json::exception& e)
    {
        fault = "JSON, " + jsonPlace(text, position) + ": " + jsonReason(e);
        return false;
    }

    const char** farthest() { return &at; }
    const std::string& getFault() const { return fault; }

private:
    /// @param behind  characters that the parser has read since the value's last one, plus one
    u64 offsetNow(int behind) const
    {
        return u64(std::max<std::ptrdiff_t>(at - text.data() - behind, 0));
    }

    bool refuse(const std::string& cause)
    {
        fault = "JSON, " + jsonPlace(text, offsetNow(0)) + ": " + cause;
        return false;
    }

    bool number(double value)
    {
        // Behind a number the parser has seen one character more.
        LookValue& target = *open.back();
        if (hasRoot && target.isArray() && target.values.empty()) {
            target.numbers.push_back(value);
            return true;
        }
        if (LookValue* const added = add(Kind::number, 2))
            added->number = value;
        return fault.empty();
    }

    bool hasSingleKeys(const LookValue& object)
    {
        std::vector<const LookValue*> members;
        for (const LookValue& value : object.values)
            members.push_back(&value);
        std::sort(members.begin(), members.end(), [](const LookValue* a, const LookValue* b) {
            return std::tie(a->key, a->offset) < std::tie(b->key, b->offset);
        });
        for (std::size_t i = 1; i < members.size(); ++i)
            if (members[i]->key == members[i - 1]->key) {
                at = text.data() + members[i]->offset;
                return refuse("the key '" + members[i]->key + "' stands twice");
            }
        return true;
    }

    LookValue* add(Kind kind, int behind)
    {
        LookValue* target = open.back();
        if (hasRoot) {
            spread(*target);
            target->values.emplace_back();
            target = &target->values.back();
            target->key = std::exchange(nextKey, {});
        }
        hasRoot = true;
        target->kind = kind;
        target->offset = offsetNow(behind);
        return target;
    }

    /// Numbers become elements like all others when the first of another kind follows.
    static void spread(LookValue& array)
    {
        for (const double number : array.numbers) {
            LookValue& element = array.values.emplace_back();
            element.kind = Kind::number;
            element.number = number;
            element.offset = array.offset;
        }
        array.numbers = {};
    }

    bool start(Kind kind)
    {
        if (++depth > deepest)
            return refuse("nested deeper than the limit of " + std::to_string(deepest) +
                          " (--limit json-nesting=N)");
        const bool isRoot = !hasRoot;
        LookValue* const added = add(kind, 1);
        if (!isRoot)
            open.push_back(added);
        return true;
    }

    bool end()
    {
        --depth;
        if (open.size() > 1)
            open.pop_back();
        return true;
    }

    std::string_view text;
    const char* at;
    u64 deepest, depth = 0;
    std::vector<LookValue*> open; ///< the objects and arrays around what comes next
    bool hasRoot = false;
    std::string nextKey, fault;
};

/// Appends the path of a value below another one.
bool findPath(const LookValue& from, const LookValue& target, std::string& path)
{
    if (&from == &target)
        return true;
    for (std::size_t i = 0; i < from.values.size(); ++i) {
        const std::size_t length = path.size();
        if (from.isArray())
            path += fmt::format("[{}]", i);
        else
            path.append(path.empty() ? "" : ".").append(from.values[i].key);
        if (findPath(from.values[i], target, path))
            return true;
        path.resize(length);
    }
    return false;
}

} // namespace

const LookValue* LookValue::find(std::string_view name) const
{
    for (const LookValue& value : values)
        if (isObject() && value.key == name)
            return &value;
    return nullptr;
}

const char* LookValue::kindName() const
{
    static const char* const names[] = {"null",     "a truth value", "a number",
                                        "a string", "a list",        "an object"};
    return names[int(kind)];
}

LookDocument::LookDocument(std::string text_, const std::string& name_, const Limits& limits,
                           bool hasLines_)
    : name(name_), text(std::move(text_)), hasLines(hasLines_)
{
    TreeBuilder builder(root, text, limits.jsonNesting);
    const WatchedCharacters first(text.data(), builder.farthest()),
        last(text.data() + text.size(), builder.farthest());
    const bool isRead = nlohmann::json::sax_parse(first, last, &builder,
                                                  nlohmann::json::input_format_t::json, true, true);
    if (!isRead)
        throw InputError(name, builder.getFault());
}

LookDocument LookDocument::ofOption(const std::string& text, const std::string& name,
                                    const Limits& limits)
{
    LookDocument document;
    // What is no JSON is a text without its quotes: a name, a file, a colour.
    try {
        document = LookDocument(text, name, limits);
    } catch (const InputError&) {
        document.root.kind = LookValue::Kind::string;
        document.root.text = text;
    }
    document.name = name;
    document.hasLines = false;
    return document;
}

std::string LookDocument::lineOf(const LookValue& value) const
{
    const auto end = text.begin() + std::ptrdiff_t(std::min<u64>(value.offset, text.size()));
    return "line " + std::to_string(std::count(text.begin(), end, '\n') + 1);
}

std::string LookDocument::placeOf(const LookValue& value) const
{
    std::string path;
    findPath(root, value, path);
    return name + (hasLines ? ", " + lineOf(value) : "") + (path.empty() ? "" : ": " + path);
}

std::string LookDocument::describe(const LookValue& value) const
{
    std::string path;
    findPath(root, value, path);
    return (hasLines ? lineOf(value) + ": " : "") + (path.empty() ? "" : path + ": ");
}

void LookDocument::fail(const LookValue& value, const std::string& cause) const
{
    throw InputError(name, describe(value) + cause);
}

void LookDocument::warn(const LookValue& value, const std::string& warning) const
{
    znLog::warning((printable(name) + ": " + printable(describe(value) + warning, 1000)).c_str());
}

} // namespace io
