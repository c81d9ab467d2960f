#include "HeldMessages.h"

#include <zan/zan_api_functions.h>

#include <iostream>

HeldMessages::HeldMessages()
{
    TESK_ZAN::setMessageStream(&held);
}

HeldMessages::~HeldMessages()
{
    TESK_ZAN::setMessageStream(&std::cerr);
    if (!bDropped)
        std::cerr << held.str();
}
