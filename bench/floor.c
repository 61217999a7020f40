// SPDX-License-Identifier: Apache-2.0
// floor [ROOT]: the least that one run of the metrics can cost. Opens, reads and closes the same
// kernel files and asks the same file systems, below ROOT where one is given, and looks at nothing.
#include <fcntl.h>
#include <mntent.h>
#include <stdio.h>
#include <string.h>
#include <sys/statvfs.h>
#include <unistd.h>

static char buffer[1 << 20];

static int swallow(const char* root, const char* path) {
  char name[4096];
  snprintf(name, sizeof name, "%s%s", root, path);
  const int file = open(name, O_RDONLY | O_CLOEXEC);
  if (file < 0) return -1;
  while (read(file, buffer, sizeof buffer) > 0) {
  }
  close(file);
  return 0;
}

int main(int argc, char** argv) {
  static const char* const files[] = {"/proc/stat", "/proc/loadavg", "/proc/meminfo",
                                      "/proc/vmstat", "/proc/diskstats"};
  const char* const root = argc > 1 ? argv[1] : "";
  for (size_t i = 0; i < sizeof files / sizeof files[0]; ++i) swallow(root, files[i]);
  swallow(root, argc > 1 ? "/proc/1/net/dev" : "/proc/net/dev");

  char name[8192];
  snprintf(name, sizeof name, "%s%s", root, argc > 1 ? "/proc/1/mounts" : "/etc/mtab");
  FILE* table = setmntent(name, "re");
  if (table == NULL) table = setmntent("/proc/mounts", "re");
  if (table == NULL) return 1;
  struct mntent entry;
  while (getmntent_r(table, &entry, buffer, sizeof buffer) != NULL) {
    if (strcmp(entry.mnt_type, "autofs") == 0) continue;
    struct statvfs info;
    snprintf(name, sizeof name, "%s%s", root, entry.mnt_dir);
    statvfs(name, &info);
  }
  endmntent(table);
  return 0;
}
