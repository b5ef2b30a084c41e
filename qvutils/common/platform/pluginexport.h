#pragma once

/// Marks the entry point of a plug-in, which the application looks for by name.
#if defined(_WIN32)
#define QV_PLUGIN_EXPORT __declspec(dllexport)
#else
#define QV_PLUGIN_EXPORT __attribute__((visibility("default")))
#endif
