#pragma once
// The GenICam exception type that the Qt layers catch and print. Kept in one place so that
// the rest of libVorloQtBase does not depend on where the engine puts its headers.
#include <GenICam/GenICam.h>
