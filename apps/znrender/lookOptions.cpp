#include "lookOptions.h"

#include "parseValues.h"

#include "io/InputError.h"
#include "io/looks.h"

#include <CLI/CLI.hpp>

void addLooks(CLI::App& command, LookOptions& options)
{
    command
        .add_option("--look", options.looks,
                    "Look to lay over the scene, NAME.zn.json (repeatable, later ones come last)")
        ->expected(1)
        ->take_all();
    command
        .add_option("--set", options.sets,
                    "Set one value: PATH.FIELD=VALUE, as /car/door.visible=false or "
                    "materials.paint.roughness=0.2 (repeatable)")
        ->expected(1)
        ->take_all();
    command.add_option("--variant", options.variant,
                       "Variant of the scene to show ('list variants' names them)");
}

void applyLooks(io::SceneFile& scene, const LookOptions& options, const io::SceneReadOptions& read)
{
    for (const std::string& look : options.looks)
        io::applyLook(scene, look, read);
    try {
        if (!options.variant.empty())
            io::applyVariant(scene, options.variant);
        for (const std::string& assignment : options.sets)
            io::applySetting(scene, assignment, read);
    } catch (const io::InputError& error) {
        throw UsageError(error.what());
    }
}
