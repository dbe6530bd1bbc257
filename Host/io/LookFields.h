#pragma once

// Sets fields of containers from the values of a look, by reflection alone: what a kind is called,
// what fields it has and how far they go is said nowhere here.
//
//   numbers, truth values, strings    as they are, within the field's range
//   choices                           name or number
//   vectors, matrices                 lists of numbers; matrices column by column
//   colours                           [r, g, b] linear, "#rrggbb" as on displays, a number for a
//                                     grey, or {"color", "intensity", "temperature", "spectrum"}
//   images                            a file
//   textures                          a file, or an object with "image" and other fields
//   materials                         a name, or an object with "type"
//   nodes                             a path
//   other containers                  an object, with "type" where there are several; without it
//                                     what is there already is changed; null takes it away

#include "io/LookDocument.h"
#include "io/SceneFile.h"
#include "io/SceneFolder.h"

namespace io {

/// What a look is applied to, and what it may reach.
struct LookWorld
{
    SceneFile& scene;
    const SceneFolder* folder = nullptr; ///< null: no files
    Limits limits;
    std::map<std::string, osg::Ref<osg::Image>> images; ///< by name as in the look
    /// Those of the scene and of looks; made anew by findMaterials.
    std::map<std::string, std::vector<osg::MaterialPtr>> materials;
    std::map<std::string, osg::NodePtr> nodes; ///< by path; made when first asked for

    void findMaterials();
    /// @return null when there is none of this name; the first of several
    osg::MaterialPtr material(const std::string& name) const;
    std::vector<std::string> materialNames() const;
    osg::NodePtr node(const std::string& path);
    std::vector<std::string> nodePaths();
};

/// Whether looks may set a field: not the shape of the tree and of its meshes, nor pixels.
bool isLookField(const osg::FieldContainerType& type, const osg::FieldDescription& field);
/// Names of the fields that looks may set.
std::vector<std::string> lookFieldNames(const osg::FieldContainerType& type);
/// Types derived from one that can be created.
std::vector<const osg::FieldContainerType*> concreteTypes(const osg::FieldContainerType& base);

class LookFields
{
public:
    LookFields(const LookDocument& document_, LookWorld& world_)
        : document(document_), world(world_)
    {
    }

    /// Sets the members of an object, except "type" and those that the caller reads itself. A
    /// member "name" names the container; one called like a type of attachment sets its fields.
    void setMembers(const osg::FieldContainerPtr& container, const LookValue& object,
                    const std::vector<std::string>& others = {});
    void setField(osg::FieldContainer& container, const osg::FieldDescription& field,
                  const LookValue& value);
    /// @return null when the container has no such field that looks may set
    static const osg::FieldDescription* findField(const osg::FieldContainer& container,
                                                  const std::string& name);
    /// The attachment of a type, made when it is missing.
    /// @return null when the name is no type of attachment, or the container takes none
    static osg::FieldContainerPtr attachment(const osg::FieldContainerPtr& container,
                                             const std::string& typeName);
    /// A container of a type named by an object's "type", which is derived from the base.
    osg::Ref<osg::FieldContainer> create(const LookValue& object,
                                         const osg::FieldContainerType& base);
    /// A type by its name.
    const osg::FieldContainerType& type(const LookValue& name, const osg::FieldContainerType& base);
    [[noreturn]] void failForField(const LookValue& value, const osg::FieldContainer& container,
                                   const std::string& name,
                                   const std::vector<std::string>& others = {});

    /// Exactly so many numbers.
    std::vector<double> numbers(const LookValue& value, std::size_t count, const char* what);
    double number(const LookValue& value);
    const std::string& text(const LookValue& value);
    /// Opens what the look refers to.
    InputFile openFile(const LookValue& name);
    osg::MaterialPtr material(const LookValue& name);
    /// Decodes the images that textures of a part name, on all cores. Others are decoded when they
    /// are asked for, and so are these without this call; that also tells of what is wrong.
    void decodeImagesAhead(const LookValue& part);

    const LookDocument& document;
    LookWorld& world;

private:
    osg::FieldVariant decode(const osg::FieldContainer& container,
                             const osg::FieldDescription& field, const LookValue& value);
    osg::FieldVariant decodeVector(const LookValue& value, int size);
    osg::FieldVariant decodeNumber(const osg::FieldContainer& container,
                                   const osg::FieldDescription& field, const LookValue& value);
    osg::ColorComponent decodeColor(const osg::FieldContainer& container,
                                    const osg::FieldDescription& field, const LookValue& value);
    osg::FieldContainerPtr decodeContainer(const osg::FieldDescription& field,
                                           const osg::FieldContainerType& target,
                                           const osg::FieldContainerPtr& current,
                                           const LookValue& value);
    osg::FieldContainerPtr decodeTexture(const osg::FieldContainerPtr& current,
                                         const LookValue& value);
    osg::FieldContainerPtr image(const LookValue& name);
    void refuseCircle(const osg::FieldContainer& container, const osg::FieldVariant& value,
                      const LookValue& where);
    /// Keeps what was made until somebody owns it.
    osg::FieldContainerPtr keep(osg::Ref<osg::FieldContainer> container);

    std::vector<osg::Ref<osg::FieldContainer>> kept;
};

} // namespace io
