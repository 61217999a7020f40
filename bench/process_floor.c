// SPDX-License-Identifier: Apache-2.0
// process_floor: the least that a list of processes can cost. Opens, reads and closes the files of
// every process that the list is made of and asks where its program is; looks at nothing.
#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

static char buffer[1 << 16];

int main(void) {
  static const char* const files[] = {"stat", "status", "cmdline"};
  DIR* const processes = opendir("/proc");
  if (processes == NULL) return 1;
  for (const struct dirent* entry; (entry = readdir(processes)) != NULL;) {
    if (entry->d_name[0] < '0' || entry->d_name[0] > '9') continue;
    const int folder = openat(dirfd(processes), entry->d_name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) continue;
    for (size_t i = 0; i < sizeof files / sizeof files[0]; ++i) {
      const int file = openat(folder, files[i], O_RDONLY | O_CLOEXEC);
      if (file < 0) continue;
      while (read(file, buffer, sizeof buffer) > 0) {
      }
      close(file);
    }
    if (readlinkat(folder, "exe", buffer, sizeof buffer) < 0) buffer[0] = '\0';
    close(folder);
  }
  closedir(processes);
  return 0;
}
