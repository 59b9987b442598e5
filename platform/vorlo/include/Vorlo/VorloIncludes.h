#pragma once
// Umbrella header of the camera SDK.

#include <Vorlo/VorloBase.h>
#include <Vorlo/InfoBase.h>
#include <Vorlo/GrabResultPtr.h>
#include <Vorlo/Device.h>
#include <Vorlo/TransportLayer.h>
#include <Vorlo/TlFactory.h>
#include <Vorlo/EventHandlers.h>
#include <Vorlo/InstantCamera.h>
