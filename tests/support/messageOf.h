#pragma once

// The text of the exception that a call throws.

#include <exception>
#include <string>

/// @return what() of what the call threw; "(nothing thrown)" if it returned
template <typename Call>
std::string messageOf(Call&& call)
{
    try {
        call();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "(nothing thrown)";
}
