#pragma once
// The GenICam base types: strings, exceptions, locks.

#include <GenICam/GCTypes.h>
#include <GenICam/GCString.h>
#include <GenICam/GCException.h>
#include <GenICam/GCSynch.h>
