// Writes the table behind znRTPoisson as C++ source, at build time: the points take about a second
// to find, which no program should pay at its start.
//
//   znPointTable FILE

#include "generators/progressivePoints.h"

#include <cstdio>
#include <cstdlib>

namespace {

constexpr std::size_t rowCount = 1u << 18;

bool write(std::FILE* file)
{
    const ProgressivePoints set(rowCount);
    std::fprintf(file,
                 "// Made by znPointTable; see generators/progressivePoints.h.\n\n"
                 "extern const float znRTPointTable[];\n"
                 "alignas(64) const float znRTPointTable[%zu] = {\n",
                 2 * rowCount);
    for (const ProgressivePoints::Point& p : set.getPoints())
        std::fprintf(file, "0.%06df,0.%06df,\n", int(p.x), int(p.y));
    std::fprintf(file, "};\n");
    return !std::ferror(file);
}

} // namespace

int main(int argc, char** argv)
{
    std::FILE* const file = argc == 2 ? std::fopen(argv[1], "w") : nullptr;
    if (!file) {
        std::fprintf(stderr, "usage: znPointTable FILE\n");
        return EXIT_FAILURE;
    }
    const bool isWritten = write(file);
    return std::fclose(file) == 0 && isWritten ? EXIT_SUCCESS : EXIT_FAILURE;
}
