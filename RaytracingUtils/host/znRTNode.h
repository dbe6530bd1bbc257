#pragma once

// Base of all interface classes: materials, lobes, lights, shapes, lenses, plates, media.

#include "host/znRTTypeId.h"

class znRTNode
{
public:
    explicit znRTNode(const znRTTypeId& typeId) : id(&typeId) {}
    virtual ~znRTNode() = default;

    const znRTTypeId& getTypeId() const { return *id; }
    bool isOfType(const znRTTypeId& typeId) const { return *id == typeId; }

private:
    const znRTTypeId* id;
};
