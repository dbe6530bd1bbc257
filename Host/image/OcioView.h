#pragma once

// View transforms of OpenColorIO configurations. The library is optional: a build without it knows
// no configuration and says so.

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

/// What is wrong with a configuration or a name, in one line.
class OcioError : public std::runtime_error
{
public:
    /// @param isName  a display or view is not there; else the file cannot be used
    OcioError(const std::string& text, bool isName) : std::runtime_error(text), isWrongName(isName)
    {
    }
    bool isWrongName;
};

class OcioView
{
public:
    /// Whether this build has the library.
    static bool isAvailable();

    /// @param file     the configuration
    /// @param display  "" for the configuration's default
    /// @param view     "" for the display's default
    /// @throws OcioError
    OcioView(const std::string& file, const std::string& display, const std::string& view);

    /// Linear Rec. 709 to the values of the display; alpha stays. Safe on any number of threads.
    /// @param pixels  RGBA
    void apply(float* pixels, std::size_t count) const;

    const std::string& getDisplay() const { return displayName; }
    const std::string& getView() const { return viewName; }
    /// Space of the configuration that scene colours are taken for.
    const std::string& getSource() const { return sourceName; }
    /// Whether that space is known to be linear Rec. 709; else it is the role of scene colours.
    bool isSourceKnown() const { return knowsSource; }

private:
    struct Transform;
    std::shared_ptr<const Transform> transform;
    std::string displayName, viewName, sourceName;
    bool knowsSource = false;
};
