#include "geometry/vertexAttributes.h"

#include <gtest/gtest.h>

namespace {

const float floats[] = {1, 2, 3, 4, 5, 6};
const u8 bytes[] = {255, 0, 51, 102, 204, 255, 0, 51};

} // namespace

TEST(VertexAttribute, FillsMissingNumbers)
{
    const auto property = osg::FieldContainerFactory::the()->createContainer("GeoProperty");
    const osg::Ref<osg::FieldContainer> keep(property);
    osg::GeoProperty& data = *osg::GeoPropertyPtr::dcast(property);
    data.set(osg::GeoProperty::Float32, 2, floats, 3);
    const znRTVertexAttribute pairs(&data);
    EXPECT_EQ(pairs.getVector4f(1), znRTVector4f(3, 4, 0, 1));
    EXPECT_EQ(pairs.getVector2f(2), znRTVector2f(5, 6));
    data.set(osg::GeoProperty::Float32, 1, floats, 6);
    EXPECT_EQ(znRTVertexAttribute(&data).getVector2f(5), znRTVector2f(6, 0));
}

TEST(VertexAttribute, ReadsIntegersAsTheyAreMeant)
{
    const osg::Ref<osg::FieldContainer> keep(
        osg::FieldContainerFactory::the()->createContainer("GeoProperty"));
    osg::GeoProperty& data = *osg::GeoPropertyPtr::dcast(keep.get());
    data.set(osg::GeoProperty::UInt8, 4, bytes, 2, true);
    const znRTVector4f normalized = znRTVertexAttribute(&data).getVector4f(1);
    EXPECT_FLOAT_EQ(normalized.x, 0.8f);
    EXPECT_FLOAT_EQ(normalized.y, 1.0f);
    EXPECT_FLOAT_EQ(normalized.w, 0.2f);
    data.set(osg::GeoProperty::UInt8, 4, bytes, 2, false);
    EXPECT_EQ(znRTVertexAttribute(&data).getVector4f(1), znRTVector4f(204, 255, 0, 51));
}

TEST(VertexAttribute, AnswersZerosWhereThereIsNothing)
{
    const znRTVertexAttribute none(nullptr);
    EXPECT_FALSE(bool(none));
    EXPECT_EQ(none.getVector4f(0), znRTVector4f());
    const osg::Ref<osg::FieldContainer> keep(
        osg::FieldContainerFactory::the()->createContainer("GeoProperty"));
    osg::GeoProperty& data = *osg::GeoPropertyPtr::dcast(keep.get());
    data.set(osg::GeoProperty::Float32, 3, floats, 2);
    EXPECT_EQ(znRTVertexAttribute(&data).getVector4f(2), znRTVector4f());
}
