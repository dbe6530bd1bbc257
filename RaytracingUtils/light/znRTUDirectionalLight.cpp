#include "light/znRTUDirectionalLight.h"

#include "brdf/lobeMath.h"
#include "host/osg/UberLight.h"
#include "host/znSceneDataManager.h"
#include "light/lightProblems.h"
#include "light/parallelLight.h"

#include <cmath>

const znRTTypeId znRTUDirectionalLight::id("znRTUDirectionalLight");

namespace {

znRTVector3f axisOf(const osg::TransformationMatrix<float>& toWorld, const osg::Vec3f& axis)
{
    const osg::Vec3f world = toWorld.multMatrixVec(axis);
    return {world[0], world[1], world[2]};
}

} // namespace

znRTUDirectionalLight::znRTUDirectionalLight(const znRTTypeId& typeId, const osg::NodePtr& node,
                                             const osg::NodeCorePtr& core)
    : znRTUDeltaLight(typeId, node, core)
{
    setAxes(direction, tangent, bitangent);
}

bool znRTUDirectionalLight::update()
{
    const bool changed = znRTLight::update();
    if (m_transforms.empty() || !osg::isKindOf<osg::UDirectionalLight>(m_core))
        return changed;
    unit = znSceneDataManager::getSceneData(0)->getUnitsPerMetre();
    const osg::TransformationMatrix<float>& toWorld = m_transforms.front();
    setAxes(axisOf(toWorld, {0, 0, -1}), axisOf(toWorld, {0, 1, 0}), axisOf(toWorld, {1, 0, 0}));
    if (m_isOn && !std::isfinite(direction.getSquareLength())) {
        tellOfLightProblem(*this, "its transform leaves it no direction: it is off.");
        m_isOn = false;
    }
    return changed;
}

void znRTUDirectionalLight::setAxes(const znRTVector3f& newDirection,
                                    const znRTVector3f& newTangent,
                                    const znRTVector3f& newBitangent)
{
    direction = newDirection.getNormalized();
    // A sheared transform leaves axes that are not orthogonal: photons would cover an ellipse.
    tangent = (newTangent - direction * dot(newTangent, direction)).getNormalized();
    bitangent = cross(tangent, direction);
    if (dot(bitangent, newBitangent) < 0.0f)
        bitangent = -bitangent;
    directionPacket = znRTVector3fPacket(direction);
    tangentPacket = znRTVector3fPacket(tangent);
    bitangentPacket = znRTVector3fPacket(bitangent);
}

znRTColorPacket
znRTUDirectionalLight::sample_L_Out(const znRTVector2fPacket& u, const znRTVector2fPacket&,
                                    const znFloatType<2>& mask, znRTVector3fPacket& position,
                                    znRTVector3fPacket& photonDirection, znRTVector3fPacket& normal,
                                    znFloatType<2>& pdf) const
{
    parallelLight::samplePosition(directionPacket, tangentPacket, bitangentPacket, u, mask,
                                  position, pdf);
    photonDirection = normal = directionPacket;
    // Lights with a constant density emit pi times their power, see znRTLight.
    return znRTColorPacket(diffuseColor * lobeMath::pi) & mask;
}

float znRTUDirectionalLight::getPower() const
{
    return m_isOn ? parallelLight::getPower(maxIntensity) : 0.0f;
}

float znRTUDirectionalLight::getLuminousIntensity() const
{
    return m_isOn ? unit * unit * maxIntensity : 0.0f;
}

znRTVector3fPacket znRTUDirectionalLight::getLightVector(const znRTVector3fPacket&) const
{
    return -directionPacket;
}
