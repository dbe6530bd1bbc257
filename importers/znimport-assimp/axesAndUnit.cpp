#include "axesAndUnit.h"

#include "host/znLog.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

std::string suffixOf(const std::string& path)
{
    std::string suffix = path.substr(std::min(path.rfind('.'), path.size()));
    for (char& c : suffix)
        c = c >= 'A' && c <= 'Z' ? char(c + 32) : c;
    return suffix;
}

/// Axes of a file: number of the coordinate and sign for right, up, and towards the viewer.
struct Axes
{
    int right = 0, up = 1, front = 2;
    int rightSign = 1, upSign = 1, frontSign = 1;

    bool isUsable() const
    {
        const bool isPermutation = right >= 0 && right < 3 && up >= 0 && up < 3 && front >= 0 &&
                                   front < 3 && right != up && up != front && front != right;
        return isPermutation && std::abs(rightSign * upSign * frontSign) == 1 && !isMirrored();
    }
    bool isMirrored() const
    {
        const bool isEven = (up - right + 3) % 3 == 1;
        return (isEven ? 1 : -1) * rightSign * upSign * frontSign < 0;
    }
};

/// Right becomes x, up becomes z, and the viewer stands at negative y.
osg::Matrix matrixOf(const Axes& axes, float scale)
{
    osg::Matrix matrix;
    for (int column = 0; column < 3; ++column)
        matrix[column] = {0, 0, 0, 0};
    matrix[axes.right][0] = scale * float(axes.rightSign);
    matrix[axes.up][2] = scale * float(axes.upSign);
    matrix[axes.front][1] = -scale * float(axes.frontSign);
    return matrix;
}

Axes fbxAxes(const aiMetadata& data)
{
    Axes axes;
    data.Get("CoordAxis", axes.right);
    data.Get("CoordAxisSign", axes.rightSign);
    data.Get("UpAxis", axes.up);
    data.Get("UpAxisSign", axes.upSign);
    data.Get("FrontAxis", axes.front);
    data.Get("FrontAxisSign", axes.frontSign);
    if (axes.isUsable())
        return axes;
    znLog::warning("the file's axes are not a right-handed set; taken as y up");
    return Axes();
}

/// The unit of FBX is stated in centimetres.
float fbxMetres(const aiMetadata& data)
{
    double centimetres = 1.0;
    float narrow = 1.0f;
    if (!data.Get("UnitScaleFactor", centimetres) && data.Get("UnitScaleFactor", narrow))
        centimetres = narrow;
    const bool isUsable = std::isfinite(centimetres) && centimetres > 1e-6 && centimetres < 1e9;
    return isUsable ? float(centimetres / 100.0) : 0.01f;
}

void tell(const Axes& axes, float metres, const char* remark)
{
    char text[100];
    std::snprintf(text, sizeof(text), "info: %c up, one unit is %g m%s", "xyz"[axes.up],
                  double(metres), remark);
    znLog::info(text);
}

} // namespace

osg::Matrix axesAndUnit(const aiScene& scene, const std::string& file,
                        const io::FileConventions& conventions)
{
    const std::string suffix = suffixOf(file);
    if (suffix == ".dae") {
        znLog::info("info: up axis and unit as the file states them");
        return matrixOf(Axes(), 1.0f);
    }
    if (suffix == ".fbx") {
        const Axes axes = scene.mMetaData ? fbxAxes(*scene.mMetaData) : Axes();
        const float metres = scene.mMetaData ? fbxMetres(*scene.mMetaData) : 0.01f;
        tell(axes, metres, "");
        return matrixOf(axes, metres);
    }
    // What follows says neither: what the user said, else what most files of the format mean.
    const Axes zUp{0, 2, 1, 1, 1, -1};
    const char up = conventions.upAxis ? conventions.upAxis : suffix == ".stl" ? 'z' : 'y';
    const Axes axes = up == 'z' ? zUp : Axes();
    const float metres = conventions.metresPerUnit > 0.0 ? float(conventions.metresPerUnit) : 1.0f;
    tell(axes, metres, " (the format does not say; --up and --unit do)");
    return matrixOf(axes, metres);
}
