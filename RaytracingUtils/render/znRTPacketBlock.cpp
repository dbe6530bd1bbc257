#include "render/znRTPacketBlock.h"

znRTPacketBlock::znRTPacketBlock()
{
    for (znRTRayDifferentialPacket& packet : rays.rays)
        packet.auxiliary = nullptr;
}
