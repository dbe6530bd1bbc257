#include "io/looks.h"

#include "io/InputError.h"
#include "io/LookObjects.h"
#include "io/LookRules.h"
#include "io/LookTargets.h"
#include "io/fileName.h"
#include "scene/ownedContainers.h"
#include "scene/variants.h"
#include "system/nearestName.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>

namespace io {

namespace {

/// Looks that one look opens, counting each time: includes of includes multiply.
constexpr u64 mostLooks = 1000;

/// The files that include each other at the moment, and how many there were.
struct Opening
{
    std::vector<std::string> files; ///< real paths
    u64 count = 0;
};

void applyFile(SceneFile& scene, const std::string& path, const SceneReadOptions& options,
               Opening& opening);

class Layer
{
public:
    Layer(SceneFile& scene, const LookDocument& document_, const SceneFolder* folder,
          const SceneReadOptions& options_, Opening* opening_)
        : document(document_), world{scene, folder, options_.limits, {}, {}, {}},
          fields(document, world), options(options_), opening(opening_)
    {
    }

    void apply();

private:
    void applyPart(const LookValue& part);
    void include(const LookValue& list);
    void includeOne(const LookValue& name);
    void setMaterials(const LookValue& object);
    void refuseInBlock(const LookValue& part) const;
    const std::vector<LookValue>& membersOf(const LookValue& object) const;

    const LookDocument& document;
    LookWorld world;
    LookFields fields;
    const SceneReadOptions& options;
    Opening* opening; ///< null for the block in a scene file
};

/// In the order in which they are applied.
const std::vector<std::string> partNames = {"include", "assets",      "materials", "assign",
                                            "lights",  "environment", "cameras",   "settings",
                                            "set",     "variant"};

void Layer::apply()
{
    const LookValue& root = document.getRoot();
    if (!root.isObject())
        document.fail(root, fmt::format("a look is an object, not {}", root.kindName()));
    for (const LookValue& part : root.values)
        if (part.key != "$schema" &&
            std::find(partNames.begin(), partNames.end(), part.key) == partNames.end())
            document.fail(
                part, fmt::format("a look has no '{}'{}", part.key, perhaps(part.key, partNames)));
    for (const std::string& name : partNames)
        if (const LookValue* const part = root.find(name)) {
            world.findMaterials();
            applyPart(*part);
        }
}

void Layer::applyPart(const LookValue& part)
{
    LookObjects objects(fields, options);
    LookTargets targets(fields);
    if (part.key == "materials" || part.key == "set")
        fields.decodeImagesAhead(part);
    if (part.key == "include")
        include(part);
    else if (part.key == "assets") {
        refuseInBlock(part);
        objects.addAssets(part);
    } else if (part.key == "materials")
        setMaterials(part);
    else if (part.key == "assign")
        LookRules(fields).apply(part);
    else if (part.key == "lights")
        objects.setLights(part);
    else if (part.key == "environment")
        objects.setEnvironment(part);
    else if (part.key == "cameras")
        objects.setCameras(part);
    else if (part.key == "settings")
        for (const LookValue& member : membersOf(part))
            targets.setSetting(member.key, member);
    else if (part.key == "set")
        for (const LookValue& member : membersOf(part))
            targets.set(member.key, member);
    else if (part.key == "variant" &&
             scene::chooseVariant(world.scene.root.get(), fields.text(part)) == 0)
        document.fail(part,
                      fmt::format("there is no variant '{}'{}", part.text,
                                  perhaps(part.text, scene::findVariants(world.scene.root.get()))));
}

const std::vector<LookValue>& Layer::membersOf(const LookValue& object) const
{
    if (!object.isObject())
        document.fail(object, fmt::format("should be an object, not {}", object.kindName()));
    return object.values;
}

void Layer::refuseInBlock(const LookValue& part) const
{
    if (!opening)
        document.fail(part, "a look inside of a scene file names no further scenes and looks");
}

void Layer::includeOne(const LookValue& name)
{
    const std::string path = fields.openFile(name).getName();
    if (opening->files.size() > options.limits.lookIncludes)
        document.fail(name, fmt::format("looks include each other deeper than the limit of {} "
                                        "(--limit look-includes=N)",
                                        options.limits.lookIncludes));
    if (opening->count >= mostLooks)
        document.fail(name, fmt::format("more than {} looks are included", mostLooks));
    applyFile(world.scene, path, options, *opening);
}

void Layer::include(const LookValue& list)
{
    refuseInBlock(list);
    if (!list.isArray())
        includeOne(list);
    else if (!list.numbers.empty())
        document.fail(list, "should be a list of files");
    for (const LookValue& entry : list.values)
        includeOne(entry);
    world.nodes.clear();
}

/// First all new materials, then their fields: those may name others of the look.
void Layer::setMaterials(const LookValue& object)
{
    SceneFile& scene = world.scene;
    scene::Replacements replacements;
    std::vector<osg::Ref<osg::FieldContainer>> kept; // the new ones, and those they replace
    for (const LookValue& entry : membersOf(object)) {
        membersOf(entry);
        if (!entry.find("type"))
            continue;
        kept.push_back(fields.create(entry, osg::Material::getClassType()));
        const auto material = osg::MaterialPtr::dcast(kept.back().get());
        osg::setName(material, entry.key);
        // A material of the scene with this name gives way.
        for (const osg::MaterialPtr& old : world.materials[entry.key]) {
            kept.emplace_back(osg::FieldContainerPtr(old));
            replacements[osg::FieldContainerPtr(old)] = material;
        }
        world.materials[entry.key] = {material};
        scene.looks.materials[entry.key] = material;
    }
    if (!replacements.empty())
        scene::replaceOwned(scene.root.get(), replacements);
    for (const LookValue& entry : object.values) {
        const auto found = world.materials.find(entry.key);
        if (found == world.materials.end())
            document.fail(entry, fmt::format("there is no material '{}' to change{}; a new one "
                                             "needs a \"type\"",
                                             entry.key, perhaps(entry.key, world.materialNames())));
        for (const osg::MaterialPtr& material : found->second)
            fields.setMembers(material, entry);
    }
}

void applyDocument(SceneFile& scene, const LookDocument& document, const SceneFolder* folder,
                   const SceneReadOptions& options, Opening* opening)
{
    if (!scene.root)
        scene.root = osg::Node::create(nullptr, "scene");
    Layer(scene, document, folder, options, opening).apply();
    scene.variants = scene::findVariants(scene.root.get());
}

void applyFile(SceneFile& scene, const std::string& path, const SceneReadOptions& options,
               Opening& opening)
{
    InputFile file = InputFile::open(path, options.limits);
    options.limits.check(&Limits::lookSize, file.getSize(), path, "bytes of a look:");
    std::error_code ignored;
    const std::string real = std::filesystem::weakly_canonical(path, ignored).string();
    if (std::find(opening.files.begin(), opening.files.end(), real) != opening.files.end())
        throw InputError(path, "is a look that includes itself");
    const std::vector<u8> bytes = file.readAll();
    const LookDocument document(std::string(bytes.begin(), bytes.end()), path, options.limits);
    const SceneFolder folder(path, options.includeFolders, options.limits);
    opening.files.push_back(real);
    ++opening.count;
    applyDocument(scene, document, &folder, options, &opening);
    opening.files.pop_back();
}

} // namespace

bool isLookFile(const std::string& path)
{
    const std::string_view suffix = ".zn.json";
    return path.size() > suffix.size() && path.ends_with(suffix);
}

void applyLook(SceneFile& scene, const std::string& path, const SceneReadOptions& options)
{
    Opening opening;
    applyFile(scene, path, options, opening);
}

void applyLookBlock(SceneFile& scene, const std::string& path, const SceneReadOptions& options)
{
    const LookDocument document(scene.look, path + ", extras.zn", options.limits, false);
    const SceneFolder folder(path, options.includeFolders, options.limits);
    applyDocument(scene, document, &folder, options, nullptr);
}

void applyLookText(SceneFile& scene, std::string_view text, const std::string& name,
                   const SceneFolder* folder, const SceneReadOptions& options)
{
    options.limits.check(&Limits::lookSize, text.size(), name, "bytes of a look:");
    const LookDocument document(std::string(text), name, options.limits);
    Opening opening;
    applyDocument(scene, document, folder, options, &opening);
}

void applySetting(SceneFile& scene, const std::string& assignment, const SceneReadOptions& options)
{
    const std::size_t sign = assignment.find('=');
    if (sign == assignment.npos || sign == 0)
        throw InputError("--set " + assignment, "should have the form PATH.FIELD=VALUE");
    const LookDocument document =
        LookDocument::ofOption(assignment.substr(sign + 1), "--set " + assignment, options.limits);
    const SceneFolder folder("./look", options.includeFolders, options.limits);
    LookWorld world{scene, &folder, options.limits, {}, {}, {}};
    LookFields fields(document, world);
    world.findMaterials();
    LookTargets(fields).set(assignment.substr(0, sign), document.getRoot());
}

void applyVariant(SceneFile& scene, const std::string& name)
{
    if (scene::chooseVariant(scene.root.get(), name) > 0)
        return;
    const std::vector<std::string> names = scene::findVariants(scene.root.get());
    if (names.empty())
        throw InputError("--variant " + name, "the scene has no variants");
    throw InputError("--variant " + name,
                     fmt::format("there is no such variant{}; there are {}", perhaps(name, names),
                                 fmt::join(names, ", ")));
}

} // namespace io
