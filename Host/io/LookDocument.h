#pragma once

// The text of a look as a tree that knows where everything stands, so that a fault is told with its
// line and its path in the JSON: "studio.zn.json: line 12: materials.paint.flakeSize: ...".
// Comments (// and /* */) are allowed. A key that stands twice in an object is refused.

#include "io/Limits.h"

#include <string>
#include <string_view>
#include <vector>

namespace io {

struct LookValue
{
    enum class Kind : u8 { null, boolean, number, string, array, object };

    Kind kind = Kind::null;
    bool flag = false; ///< of a boolean
    u64 offset = 0;    ///< byte of the text that it ends at, objects and arrays begin at
    double number = 0.0;
    std::string key;               ///< as a member of an object
    std::string text;              ///< of a string
    std::vector<LookValue> values; ///< members in the order of the text, or elements
    std::vector<double> numbers;   ///< elements of an array of nothing but numbers

    bool isString() const { return kind == Kind::string; }
    bool isNumber() const { return kind == Kind::number; }
    bool isArray() const { return kind == Kind::array; }
    bool isObject() const { return kind == Kind::object; }
    bool isNumbers() const { return isArray() && values.empty(); }
    /// Elements of an array.
    std::size_t size() const { return values.size() + numbers.size(); }
    /// @return null without such a member
    const LookValue* find(std::string_view name) const;
    /// "an object", "a number": for messages.
    const char* kindName() const;
};

class LookDocument
{
public:
    /// @param name      of the file, for messages
    /// @param hasLines  whether lines of the text are lines of the file
    /// @throws InputError
    LookDocument(std::string text, const std::string& name, const Limits& limits,
                 bool hasLines = true);

    /// A value that stands in no file, as on a command line: faults give no line.
    static LookDocument ofOption(const std::string& text, const std::string& name,
                                 const Limits& limits);

    const LookValue& getRoot() const { return root; }
    const std::string& getName() const { return name; }

    /// "studio.zn.json, line 12: assign[0]"
    std::string placeOf(const LookValue& value) const;
    /// Throws InputError with place and path of a value of this document.
    [[noreturn]] void fail(const LookValue& value, const std::string& cause) const;
    void warn(const LookValue& value, const std::string& text) const;

private:
    LookDocument() = default;
    std::string lineOf(const LookValue& value) const;
    std::string describe(const LookValue& value) const;

    std::string name, text;
    bool hasLines = true;
    LookValue root;
};

} // namespace io
