#include "io/lightProfile.h"

#include "io/InputError.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>
#include <string_view>

namespace io {
namespace {

constexpr double pi = std::numbers::pi, degrees = 180.0 / pi;
constexpr double feet = 0.3048;
constexpr u32 largestGrid = 4'000'000; ///< values of one file; real ones have some ten thousand

/// The numbers behind the TILT line, separated by blanks, commas and line ends as one likes.
class Numbers
{
public:
    /// @param newWhole  the file, for the number of a line
    /// @param newText   part of it
    Numbers(const InputFile& newFile, std::string_view newWhole, std::string_view newText)
        : file(newFile), whole(newWhole), text(newText)
    {
    }

    double next(const char* what)
    {
        const std::string_view separators = " \t\r\n,\f\v";
        const std::size_t begin = text.find_first_not_of(separators);
        if (begin == std::string_view::npos)
            file.fail(std::string("ends before ") + what);
        text.remove_prefix(begin);
        last = text.data();
        std::string_view word = text.substr(0, text.find_first_of(separators));
        text.remove_prefix(word.size());
        const std::string_view written = word;
        if (word.front() == '+')
            word.remove_prefix(1);
        double value = 0.0;
        const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
        if (error != std::errc() || end != word.data() + word.size() || !std::isfinite(value))
            fail(std::string(1, '"') + std::string(written.substr(0, 40)) +
                 "\" is no number, in the place of " + what);
        return value;
    }

    u32 count(const char* what, u32 least)
    {
        const double value = next(what);
        if (value < least || value > largestGrid || value != std::floor(value))
            fail(std::string(what) + " is out of range");
        return u32(value);
    }

    std::vector<float> list(u32 size, const char* what)
    {
        std::vector<float> values;
        values.reserve(size);
        for (u32 i = 0; i < size; ++i)
            values.push_back(float(next(what)));
        return values;
    }

    /// About the number that was read last.
    [[noreturn]] void fail(const std::string& cause) const
    {
        const auto line = 1 + std::count(whole.data(), last, '\n');
        file.fail("line " + std::to_string(line) + ": " + cause);
    }

private:
    const InputFile& file;
    std::string_view whole, text;
    const char* last = whole.data();
};

std::string_view trimmed(std::string_view line)
{
    const std::size_t begin = line.find_first_not_of(" \t\r\xEF\xBB\xBF");
    if (begin == std::string_view::npos)
        return {};
    return line.substr(begin, line.find_last_not_of(" \t\r") + 1 - begin);
}

bool startsWith(std::string_view line, std::string_view word)
{
    return line.size() >= word.size() &&
           std::equal(word.begin(), word.end(), line.begin(), [](char a, char b) {
               return a == (b >= 'a' && b <= 'z' ? char(b - 'a' + 'A') : b);
           });
}

/// Finds the TILT line; headers vary too much to ask for more.
/// @param rest  out: what follows the line
std::string_view findTilt(const InputFile& file, std::string_view text, std::string_view& rest)
{
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view line = trimmed(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (startsWith(line, "TILT=")) {
            rest = text;
            return trimmed(line.substr(5));
        }
    }
    file.fail("no photometric data: there is no line with TILT=");
}

/// Factors for lamps that burn tilted. The luminaire hangs as it was measured here, so they are
/// passed over: those that stand here, and those of a file that is named.
void skipTilt(std::string_view tilt, Numbers& numbers)
{
    if (!startsWith(tilt, "INCLUDE"))
        return;
    numbers.next("the lamp's orientation");
    const u32 pairs = numbers.count("the number of tilt factors", 0);
    numbers.list(pairs, "a tilt angle");
    numbers.list(pairs, "a tilt factor");
}

void checkAngles(const InputFile& file, const std::vector<float>& angles, float least, float most,
                 const char* which)
{
    const bool isAscending =
        std::adjacent_find(angles.begin(), angles.end(), std::greater_equal<>()) == angles.end();
    if (!isAscending)
        file.fail(std::string("its ") + which + " angles do not ascend");
    if (angles.front() < least || angles.back() > most)
        file.fail(std::string("its ") + which + " angles leave the range of its type");
}

/// Place of an angle between two neighbours of a list.
/// @return false beyond the list
bool locate(const std::vector<float>& angles, double angle, std::size_t& index, double& share)
{
    // Files write angles with few digits: a little beyond is still at the end.
    constexpr double slack = 1e-3;
    index = 0;
    share = 0.0;
    if (angle < angles.front() - slack || angle > angles.back() + slack)
        return false;
    if (angles.size() == 1)
        return true;
    const auto above = std::upper_bound(angles.begin() + 1, angles.end() - 1, float(angle));
    index = std::size_t(above - angles.begin()) - 1;
    share =
        std::clamp((angle - angles[index]) / (double(angles[index + 1]) - angles[index]), 0.0, 1.0);
    return true;
}

/// Brings the azimuth of type C into the measured half or quarter.
double mirrored(const std::vector<float>& horizontal, double angle)
{
    angle -= 360.0 * std::floor(angle / 360.0);
    const double last = horizontal.back(), first = horizontal.front();
    if (first >= 89.0 && last <= 271.0) // measured from 90 to 270: the other half mirrors it
        return angle < 90.0 ? 180.0 - angle : angle > 270.0 ? 540.0 - angle : angle;
    if (last <= 181.0 && angle > 180.0)
        angle = 360.0 - angle;
    if (last <= 91.0 && angle > 90.0)
        angle = 180.0 - angle;
    return angle;
}

/// Type C: axially symmetric when one plane stands for all.
bool isAxial(const LightProfile& profile)
{
    return profile.type == LightProfile::typeC && profile.horizontal.size() == 1;
}

} // namespace

float LightProfile::at(double verticalDegrees, double horizontalDegrees) const
{
    if (type == typeC)
        horizontalDegrees =
            isAxial(*this) ? horizontal[0] : mirrored(horizontal, horizontalDegrees);
    else {
        // Halves that begin at 0 stand for both.
        if (horizontal.front() == 0.0f)
            horizontalDegrees = std::fabs(horizontalDegrees);
        if (vertical.front() == 0.0f)
            verticalDegrees = std::fabs(verticalDegrees);
    }
    std::size_t v, h;
    double vShare, hShare;
    if (!locate(vertical, verticalDegrees, v, vShare) ||
        !locate(horizontal, horizontalDegrees, h, hShare))
        return 0.0f;
    const auto value = [&](std::size_t plane, std::size_t angle) {
        return double(candela[std::min(plane, horizontal.size() - 1) * vertical.size() +
                              std::min(angle, vertical.size() - 1)]);
    };
    const double low = std::lerp(value(h, v), value(h, v + 1), vShare);
    return float(std::lerp(low, std::lerp(value(h + 1, v), value(h + 1, v + 1), vShare), hShare));
}

float LightProfile::towards(double x, double y, double forward) const
{
    const auto arc = [](double sine) { return std::asin(std::clamp(sine, -1.0, 1.0)) * degrees; };
    if (type == typeA)
        return at(arc(y), std::atan2(x, forward) * degrees);
    if (type == typeB)
        return at(std::atan2(y, forward) * degrees, arc(x));
    return at(std::acos(std::clamp(forward, -1.0, 1.0)) * degrees, std::atan2(y, x) * degrees);
}

double LightProfile::lumens() const
{
    constexpr int rows = 720, columns = 1440;
    const int used = isAxial(*this) ? 1 : columns;
    double sum = 0.0;
    for (int row = 0; row < rows; ++row) {
        const double theta = pi * (row + 0.5) / rows;
        for (int column = 0; column < used; ++column) {
            const double phi = 2.0 * pi * (column + 0.5) / used;
            sum += towards(std::sin(theta) * std::cos(phi), std::sin(theta) * std::sin(phi),
                           std::cos(theta)) *
                   std::sin(theta);
        }
    }
    return sum * (pi / rows) * (2.0 * pi / used);
}

LightProfile readLightProfile(InputFile& file)
{
    const std::vector<u8> bytes = file.readAll();
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    std::string_view rest;
    const std::string_view tilt = findTilt(file, text, rest);
    Numbers numbers(file, text, rest);
    skipTilt(tilt, numbers);

    numbers.next("the number of lamps");
    numbers.next("the lumens per lamp");
    const double multiplier = numbers.next("the candela multiplier");
    const u32 verticalCount = numbers.count("the number of vertical angles", 1);
    const u32 horizontalCount = numbers.count("the number of horizontal angles", 1);
    if (u64(verticalCount) * horizontalCount > largestGrid)
        file.fail("its grid of angles is too large");
    LightProfile profile;
    profile.type = int(numbers.count("the photometric type", 1));
    if (profile.type > LightProfile::typeA)
        numbers.fail("the photometric type is out of range");
    const double metres = numbers.next("the type of units") == 1.0 ? feet : 1.0;
    profile.width = float(numbers.next("the width") * metres);
    profile.length = float(numbers.next("the length") * metres);
    profile.height = float(numbers.next("the height") * metres);
    const double ballast = numbers.next("the ballast factor");
    numbers.next("the ballast-lamp factor"); // 1 from 1995 on
    numbers.next("the watts");

    profile.vertical = numbers.list(verticalCount, "a vertical angle");
    profile.horizontal = numbers.list(horizontalCount, "a horizontal angle");
    profile.candela = numbers.list(verticalCount * horizontalCount, "a candela value");
    const bool isTypeC = profile.type == LightProfile::typeC;
    checkAngles(file, profile.vertical, isTypeC ? 0.0f : -180.0f, 180.0f, "vertical");
    checkAngles(file, profile.horizontal, isTypeC ? 0.0f : -180.0f, isTypeC ? 360.0f : 180.0f,
                "horizontal");
    // Measuring noise around 0 is no light.
    const double scale = multiplier * ballast;
    for (float& value : profile.candela)
        value = float(std::max(0.0, value * scale));
    return profile;
}

LightProfile readLightProfile(const std::string& path, const Limits& limits)
{
    InputFile file = InputFile::open(path, limits);
    return readLightProfile(file);
}

osg::FCPtr<osg::LightProfileAttachment> makeLightProfileAttachment(const LightProfile& profile)
{
    // Half a degree from row to row, finer than luminaires are measured.
    constexpr u32 rows = 360;
    const u32 columns = isAxial(profile) ? 1 : 360;
    std::vector<float> texels;
    texels.reserve(std::size_t(rows) * columns);
    for (u32 row = 0; row < rows; ++row) {
        const double theta = pi * (row + 0.5) / rows;
        for (u32 column = 0; column < columns; ++column) {
            const double phi = 2.0 * pi * (column + 0.5) / columns;
            texels.push_back(profile.towards(std::sin(theta) * std::cos(phi),
                                             std::sin(theta) * std::sin(phi), std::cos(theta)));
        }
    }
    const auto image = osg::Image::create();
    image->set(osg::Image::L, columns, rows, 1, 1, 1, texels.data(), osg::Image::Float32);
    image->setColorSpaceGamma(1.0f);
    const auto attachment = osg::LightProfileAttachment::create();
    attachment->setDistributionMap(image);
    attachment->setPhotometricType(profile.type);
    attachment->setUseLightProfile(true);
    return attachment;
}

} // namespace io
