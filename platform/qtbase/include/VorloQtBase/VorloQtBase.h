#pragma once
// libVorloQtBase: the Qt companion services of the widget library.

#include <VorloQtBase/exceptiondisplay.h>
#include <VorloQtBase/exceptionhandling.h>
#include <VorloQtBase/formatting.h>
#include <VorloQtBase/fpsstatistic.h>
#include <VorloQtBase/persistence.h>
#include <VorloQtBase/pluginmanager.h>
#include <VorloQtBase/trace.h>
#if __has_include(<VorloQtBase/formatdevicename.h>)
#include <VorloQtBase/formatdevicename.h>
#endif
