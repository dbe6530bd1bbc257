#pragma once

// Identity of an interface class: each class owns one static znRTTypeId, compared by address.

class znRTTypeId
{
public:
    constexpr explicit znRTTypeId(const char* typeName) : name(typeName) {}
    znRTTypeId(const znRTTypeId&) = delete;
    znRTTypeId& operator=(const znRTTypeId&) = delete;

    const char* getName() const { return name; }
    bool operator==(const znRTTypeId& other) const { return this == &other; }

private:
    const char* name;
};
