// Where the system enters a plug-in, ahead of the run-time library's own start. The loader cannot
// unwind C++ frames: an exception that an initialiser throws must end here.
#include "qvutils/common/platform/pluginstart_win32.h"

#include <exception>

#include "qvutils/common/platform/win32text.h"

extern "C" BOOL WINAPI DllMainCRTStartup(HINSTANCE module, DWORD reason, LPVOID reserved);
extern "C" BOOL WINAPI qvPluginStart(HINSTANCE module, DWORD reason, LPVOID reserved);

BOOL WINAPI qvPluginStart(HINSTANCE module, DWORD reason, LPVOID reserved) {
    try {
        return DllMainCRTStartup(module, reason, reserved);
    } catch (const std::exception& thrown) {
        qvplatform::noteInitialiserFailure(thrown.what());
    } catch (...) {
        qvplatform::noteInitialiserFailure("unknown exception");
    }
    return FALSE;
}
