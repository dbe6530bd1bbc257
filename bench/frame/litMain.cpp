// frame lit [SCENE...] --mesh FILE --env FILE [--samples N] [--reference N] [--size WxH] [-t N]
//           [--cycles [SCRIPT]] [-o FOLDER]

#include "litFrames.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <xmmintrin.h>

int litMain(int argc, char** argv)
try {
    LitOptions o;
    const std::string data = ZN_SOURCE_DIR "/../shared/";
    CLI::App app("Cost and noise of lit frames, as JSON", "frame lit");
    app.add_option("scenes", o.scenes, "sun, cornell, glossy; all three unless named");
    app.add_option("--mesh", o.mesh, "PLY or OBJ of sun and glossy")->check(CLI::ExistingFile);
    app.add_option("--env", o.environment, "environment image of glossy")->check(CLI::ExistingFile);
    app.add_option("--samples", o.samples, "per pixel")->check(CLI::Range(1, 1 << 20));
    app.add_option("--reference", o.reference, "samples of the picture that the noise is against")
        ->check(CLI::Range(2, 1 << 20));
    app.add_option("--width", o.width)->check(CLI::Range(1, 16384));
    app.add_option("--height", o.height)->check(CLI::Range(1, 16384));
    app.add_option("-t,--threads", o.threads)->check(CLI::Range(1, 1024));
    app.add_option("--cycles", o.cyclesScript, "script that renders the scenes with Blender Cycles")
        ->expected(0, 1)
        ->default_str(data + "tools/cycles_scene.py")
        ->check(CLI::ExistingFile);
    app.add_option("-o", o.folder, "folder for the long renders")->check(CLI::ExistingDirectory);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) ? 2 : 0;
    }
    if (o.scenes.empty())
        o.scenes = {"sun", "cornell", "glossy"};
    _mm_setcsr(_mm_getcsr() | 0x8040);
    std::puts(measureLitFrames(o).dump(2).c_str());
    return 0;
} catch (const std::exception& e) {
    std::fprintf(stderr, "frame: %s\n", e.what());
    return 1;
}
