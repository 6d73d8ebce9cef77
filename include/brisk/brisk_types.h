#ifndef BRISK_BRISK_TYPES_H_
#define BRISK_BRISK_TYPES_H_

#include <stdint.h> /* NOLINT(modernize-deprecated-headers): C reads this too */

/* Calling conventions: BRISK_CALL is the Windows standard convention (the callee removes the
 * arguments), BRISK_LIB_CALL that of the I2cLib_ family (the caller removes them). They differ on
 * 32-bit Windows only. */
#if defined(_WIN32)
#define BRISK_CALL __stdcall
#define BRISK_LIB_CALL __cdecl
#else
#define BRISK_CALL
#define BRISK_LIB_CALL
#endif

/* Windows exports come from a list of names in the build; elsewhere this marks them. */
#if defined(BRISK_BUILDING) && !defined(_WIN32)
#define BRISK_API __attribute__((visibility("default")))
#else
#define BRISK_API
#endif

#ifdef __cplusplus
#define BRISK_BEGIN_DECLS extern "C" {
#define BRISK_END_DECLS }
#else
#define BRISK_BEGIN_DECLS
#define BRISK_END_DECLS
#endif

#endif
