// znrender schema: the form of looks, for editors.

#include "commands.h"

#include "io/OutputFile.h"
#include "io/lookSchema.h"

#include <fmt/format.h>

int runSchema(const Options& options)
{
    const std::string schema = io::lookSchema();
    if (options.outputs.empty()) {
        fmt::print("{}", schema);
        return exitDone;
    }
    const auto existing =
        options.overwrite ? io::OutputFile::Existing::replace : io::OutputFile::Existing::refuse;
    io::OutputFile::checkTarget(options.outputs.front(), existing);
    io::OutputFile file(options.outputs.front());
    file.write(schema.data(), schema.size());
    file.commit();
    return exitDone;
}
