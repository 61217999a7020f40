// SPDX-License-Identifier: Apache-2.0
// sleepers COUNT: that many processes that do nothing, until standard input ends. Prints a line
// once all of them are there.
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <unistd.h>

int main(int argc, char** argv) {
  const int count = argc > 1 ? atoi(argv[1]) : 0;
  for (int i = 0; i < count; ++i) {
    const pid_t child = fork();
    if (child < 0) {
      perror("sleepers: fork");
      return 1;
    }
    if (child == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      for (;;) pause();
    }
  }
  puts("ready");
  fflush(stdout);
  char byte;
  while (read(STDIN_FILENO, &byte, 1) > 0) {
  }
  return 0;
}
