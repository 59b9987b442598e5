#pragma once
// The GenApi interface in one include.

#include <GenICam/GenICam.h>
#include <GenApi/Types.h>
#include <GenApi/IBase.h>
#include <GenApi/INode.h>
#include <GenApi/IValue.h>
#include <GenApi/IInteger.h>
#include <GenApi/IFloat.h>
#include <GenApi/IEnumEntry.h>
#include <GenApi/IEnumeration.h>
#include <GenApi/IBoolean.h>
#include <GenApi/ICommand.h>
#include <GenApi/IString.h>
#include <GenApi/ICategory.h>
#include <GenApi/IRegister.h>
#include <GenApi/IPort.h>
#include <GenApi/ISelector.h>
#include <GenApi/INodeMap.h>
#include <GenApi/IDeviceInfo.h>
#include <GenApi/NodeCallback.h>
#include <GenApi/Pointer.h>
#include <GenApi/PortImpl.h>
#include <GenApi/MemoryPort.h>
#include <GenApi/NodeMapRef.h>
