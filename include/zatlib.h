/* zatlib: builds calc map data, a road network prepared for route calculation.
 *
 * A working function takes the handle of a window of the host application (null: the window the
 * user works in; without a window system: null) and the path of a control file, an INI file that
 * names the source files, the output folder and the options of the run. It returns non-zero on
 * success and 0 on failure or cancellation; what happened stands in the log.
 *
 * Unless the control file says [SYSTEM] SILENTMODE=1, the build runs on a thread of its own while
 * the library shows its progress and the host's owned windows are disabled. Call the functions
 * from the thread of the user interface, one at a time. Texts are in the system code page.
 */
#ifndef ZATLIB_H
#define ZATLIB_H

#if defined(_WIN32)
#define ZATLIB_API
#else
#define ZATLIB_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Returns 4085, the version 4.0.8.5. A non-null buffer receives the banner "ZAT Calc Map Library
 * Ver 4.085": it must hold 34 bytes. */
ZATLIB_API int ZAT_NWB_GetLibVersion(char* banner);

/* The library's module handle (HINSTANCE on Windows, null elsewhere). */
ZATLIB_API void* ZAT_NWB_GetLibInstance(void);

/* Builds the whole map from data in the MSR layout, whatever [SYSTEM] FORMAT says. */
ZATLIB_API int ZAT_NWB_BuildRoadNetworks400(void* owner, const char* control_file);

/* Builds the whole map from data in the layout that [SYSTEM] FORMAT names: MSR, else ZAT. A null
 * path keeps the silent mode of the call before. */
ZATLIB_API int ZAT_NWB_BuildRoadNetworksEx(void* owner, const char* control_file);

/* The second half alone: from the work stores in the output folder to the map. */
ZATLIB_API int ZAT_NWB_BRN400_PathTwo(void* owner, char* control_file);

/* The first half alone: from the source files to the work stores. Never silent. */
ZATLIB_API int ZAT_NWB_BRN400_PathOneZAT(void* owner, const char* control_file);
ZATLIB_API int ZAT_NWB_BRN400_PathOneMSR(void* owner, const char* control_file);

#ifdef __cplusplus
}
#endif

#endif /* ZATLIB_H */
