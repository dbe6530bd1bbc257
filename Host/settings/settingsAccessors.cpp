#include "host/znRTRaytracingSettings.h"
#include "host/znRTSceneHandler.h"
#include "host/znRaytracingUtilsBase.h"
#include "host/znSceneDataManager.h"
#include "settings/settingRange.h"

namespace {

using Settings = znRTRaytracingSettings;

/// Writes a field of the root's attachment inside an edit; without a root there is none.
template <class T>
void writeField(void (osg::RaytracingSettingsAttachment::*set)(const T&), u64 mask, const T& value)
{
    const osg::RaytracingSettingsAttachmentPtr attachment =
        znRTSceneHandler::getRaytracingSettingsAttachment();
    if (!attachment)
        return;
    const osg::EditScope edit(attachment, mask);
    (attachment.get()->*set)(value);
}

} // namespace

// The mirror takes the value as it was given, so that a length comes back exactly.
#define ZN_SET(type, stem, field, standard, lowest, highest, meaning)                              \
    void znRaytracingUtilsBase::set##stem(type value)                                              \
    {                                                                                              \
        using Attachment = osg::RaytracingSettingsAttachment;                                      \
        Settings::s_##field = clampSetting(type(value), lowest, highest);                          \
        writeField<type>(&Attachment::set##stem, 0, Settings::s_##field);                          \
        Settings::updateDerived();                                                                 \
    }
#define ZN_SET_LENGTH(type, stem, field, standard, lowest, highest, meaning)                       \
    void znRaytracingUtilsBase::set##stem(type value)                                              \
    {                                                                                              \
        using Attachment = osg::RaytracingSettingsAttachment;                                      \
        const float scale = znSceneDataManager::getUnitsPerMetre();                                \
        Settings::s_##field = clampSetting(value, (lowest)*scale, (highest)*scale);                \
        writeField<type>(&Attachment::set##stem, 0, Settings::s_##field / scale);                  \
        Settings::updateDerived();                                                                 \
    }
#define ZN_GET(type, stem, field, standard, lowest, highest, meaning)                              \
    type znRaytracingUtilsBase::get##stem() const                                                  \
    {                                                                                              \
        return Settings::s_##field;                                                                \
    }
ZN_RENDER_SETTINGS(ZN_SET, ZN_SET_LENGTH)
ZN_RENDER_SETTINGS(ZN_GET, ZN_GET)
#undef ZN_SET
#undef ZN_SET_LENGTH
#undef ZN_GET

void znRaytracingUtilsBase::setUseSoftwareBackground(bool on)
{
    Settings::s_useSoftwareBackground = on;
}

void znRaytracingUtilsBase::setLensFlareEnabled(bool on)
{
    Settings::s_lensFlareEnabled = on;
}

void znRaytracingUtilsBase::setShowDenoisedImage(bool on)
{
    Settings::s_showDenoisedImage = on;
}

bool znRaytracingUtilsBase::getCPUDenoiseFilterEnabled() const
{
    constexpr int hostFilter = 1;
    return Settings::s_denoiseFilter == hostFilter;
}
