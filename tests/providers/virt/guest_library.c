// SPDX-License-Identifier: Apache-2.0
//
// A guest library that behaves as the environment says:
//   GUEST_FAILS       name of the function that fails, "all" for every one but GetErrorText
//   GUEST_<function>  the figure that the function gives instead of its own
//   GUEST_ERROR       the error text; "none" for a null pointer
//   GUEST_STATISTICS  folder with a file per category ("listing" for the empty one) that is the
//                     answer; a missing file is a failing call, which has an answer all the same
//   GUEST_SIZE        a reply size that is not true
// BARE leaves out what a library may lack, BROKEN what it must have.
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define EXPORTED __attribute__((visibility("default")))

typedef int Error;
typedef int Handle;  // whether it is open

static int fails(const char* name) {
  const char* failing = getenv("GUEST_FAILS");
  return failing && (!strcmp(failing, name) || !strcmp(failing, "all"));
}
static uint64_t figureOf(const char* name, uint64_t own) {
  char variable[64];
  snprintf(variable, sizeof variable, "GUEST_%s", name);
  const char* figure = getenv(variable);
  return figure ? strtoull(figure, NULL, 10) : own;
}
// What is written on failure must not be seen by anybody.
#define FIGURE(name, type, figure)                            \
  EXPORTED Error VMGuestLib_##name(Handle* handle, type* v) { \
    const type given = (type)figureOf(#name, figure);         \
    *v = fails(#name) ? (type)-7 : given;                     \
    return fails(#name) ? 4 : *handle ? 0 : 8;                \
  }

#ifndef BROKEN
static Handle g_handle;
EXPORTED Error VMGuestLib_OpenHandle(Handle** handle) {
  g_handle = 1;
  *handle = &g_handle;
  return fails("OpenHandle") ? 2 : 0;
}
#endif
EXPORTED Error VMGuestLib_CloseHandle(Handle* handle) {
  *handle = 0;
  return fails("CloseHandle") ? 1 : 0;
}
EXPORTED Error VMGuestLib_UpdateInfo(Handle* handle) {
  return fails("UpdateInfo") ? 3 : *handle ? 0 : 8;
}
FIGURE(GetSessionId, uint64_t, 4004861987670969122)
EXPORTED const char* VMGuestLib_GetErrorText(Error error) {
  static char text[32];
  const char* words = getenv("GUEST_ERROR");
  if (words) return strcmp(words, "none") ? words : NULL;
  snprintf(text, sizeof text, "error %d", error);
  return text;
}

#ifndef BARE
FIGURE(GetCpuLimitMHz, uint32_t, 1836)
FIGURE(GetCpuReservationMHz, uint32_t, 459)
FIGURE(GetCpuStolenMs, uint64_t, 5000000003)
FIGURE(GetCpuUsedMs, uint64_t, 5000000004)
FIGURE(GetHostCpuUsedMs, uint64_t, 5000000005)
FIGURE(GetHostMemPhysFreeMB, uint64_t, 5000000006)
FIGURE(GetHostMemPhysMB, uint64_t, 131072)
FIGURE(GetHostMemSwappedMB, uint64_t, 9)
FIGURE(GetHostMemUsedMB, uint64_t, 131000)
FIGURE(GetHostNumCpuCores, uint32_t, 1)
FIGURE(GetHostProcessorSpeed, uint32_t, 2295)
FIGURE(GetMemActiveMB, uint32_t, 12)
FIGURE(GetMemBalloonedMB, uint32_t, 13)
FIGURE(GetMemLimitMB, uint32_t, 64)
FIGURE(GetMemMappedMB, uint32_t, 15)
FIGURE(GetMemReservationMB, uint32_t, 16)
FIGURE(GetMemSwappedMB, uint32_t, 17)
FIGURE(GetMemUsedMB, uint32_t, 18)

static size_t g_given;
EXPORTED Error VMGuestLib_StatGet(const char* encoding, const char* stat, char** reply,
                                  size_t* size) {
  char path[4096];
  const char* folder = getenv("GUEST_STATISTICS");
  const char* untrue = getenv("GUEST_SIZE");
  if (strcmp(encoding, "xml") || !folder) return 9;
  snprintf(path, sizeof path, "%s/%s", folder, *stat ? stat : "listing");
  FILE* file = fopen(path, "rb");
  *reply = malloc(sizeof path);
  *size = file ? fread(*reply, 1, sizeof path, file) : 0;
  if (file) fclose(file);
  // Exactly as long as the answer: a sanitizer sees who reads on for a zero.
  *reply = realloc(*reply, *size + !*size);
  if (untrue) *size = strtoull(untrue, NULL, 10);
  g_given = *size;
  return file ? 0 : 10;
}
EXPORTED void VMGuestLib_StatFree(char* reply, size_t size) {
  if (size != g_given) abort();
  free(reply);
}
#endif
