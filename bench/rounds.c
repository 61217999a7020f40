// SPDX-License-Identifier: Apache-2.0
// rounds ROUNDS NAME COMMAND [NAME COMMAND]...
//
// Runs every command once per round, in turn, with standard output on /dev/null, so that whatever
// disturbs the machine disturbs all of them alike. COMMAND is split at blanks; leading VAR=VALUE
// words go into its environment. The first round warms up and does not count. Prints a line per
// command, tab-separated, below a header: name; least and median wall time and least processor time
// (user and system), in milliseconds; greatest peak memory in KiB. Fails when a command does.
#include <errno.h>
#include <fcntl.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

extern char** environ;

enum { kMaxCommands = 64, kMaxWords = 64 };

struct command {
  const char* name;
  char* words[kMaxWords + 1];      // program and arguments
  char* variables[kMaxWords + 1];  // VAR=VALUE words
  char** environment;
  double* wall;  // one per round
  double cpu;
  long peak;
};

static void fail(const char* what, const char* name, int error) {
  fprintf(stderr, "rounds: %s %s: %s\n", what, name, strerror(error));
  exit(1);
}

static void* room(size_t count, size_t size) {
  void* const memory = calloc(count, size);
  if (memory == NULL) fail("memory for", "results", errno);
  return memory;
}

static void prepare(struct command* command, const char* name, char* text, size_t rounds) {
  size_t words = 0;
  size_t variables = 0;
  command->name = name;
  for (char* word = strtok(text, " "); word != NULL; word = strtok(NULL, " ")) {
    if (words == kMaxWords || variables == kMaxWords) fail("too many words in", name, E2BIG);
    if (words == 0 && strchr(word, '=') != NULL) {
      command->variables[variables++] = word;
    } else {
      command->words[words++] = word;
    }
  }
  if (words == 0) fail("no command for", name, EINVAL);
  size_t inherited = 0;
  while (environ[inherited] != NULL) ++inherited;
  command->environment = room(inherited + variables + 1, sizeof(char*));
  memcpy(command->environment, command->variables, variables * sizeof(char*));
  memcpy(command->environment + variables, environ, inherited * sizeof(char*));
  command->wall = room(rounds, sizeof(double));
  command->cpu = 1e9;
}

static double now(void) {
  struct timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return (double)time.tv_sec * 1e3 + (double)time.tv_nsec / 1e6;
}

static double milliseconds(struct timeval time) {
  return (double)time.tv_sec * 1e3 + (double)time.tv_usec / 1e3;
}

// `round` is 0 for the one that warms up.
static void run(struct command* command, size_t round, const posix_spawn_file_actions_t* actions) {
  pid_t child = 0;
  int status = 0;
  struct rusage usage;
  const double start = now();
  const int error =
      posix_spawnp(&child, command->words[0], actions, NULL, command->words, command->environment);
  if (error != 0) fail("cannot start", command->name, error);
  while (wait4(child, &status, 0, &usage) < 0) {
    if (errno != EINTR) fail("cannot wait for", command->name, errno);
  }
  const double wall = now() - start;
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    fprintf(stderr, "rounds: %s ended with wait status 0x%x\n", command->name, (unsigned)status);
    exit(1);
  }
  if (round == 0) return;
  command->wall[round - 1] = wall;
  const double cpu = milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
  if (cpu < command->cpu) command->cpu = cpu;
  if (usage.ru_maxrss > command->peak) command->peak = usage.ru_maxrss;
}

static int ascending(const void* a, const void* b) {
  const double x = *(const double*)a;
  const double y = *(const double*)b;
  return (x > y) - (x < y);
}

int main(int argc, char** argv) {
  static struct command commands[kMaxCommands];
  const size_t count = argc > 3 ? (size_t)(argc - 2) / 2 : 0;
  const size_t rounds = argc > 3 ? strtoul(argv[1], NULL, 10) : 0;
  if (rounds == 0 || argc % 2 != 0 || count > kMaxCommands) {
    fprintf(stderr, "usage: rounds ROUNDS NAME COMMAND [NAME COMMAND]...\n");
    return 1;
  }
  for (size_t i = 0; i < count; ++i) {
    prepare(&commands[i], argv[2 + 2 * i], argv[3 + 2 * i], rounds);
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  for (size_t round = 0; round <= rounds; ++round) {
    for (size_t i = 0; i < count; ++i) run(&commands[i], round, &actions);
  }
  posix_spawn_file_actions_destroy(&actions);
  printf("name\twall_min_ms\twall_median_ms\tcpu_min_ms\tpeak_KiB\n");
  for (size_t i = 0; i < count; ++i) {
    struct command* const command = &commands[i];
    qsort(command->wall, rounds, sizeof(double), ascending);
    printf("%s\t%.3f\t%.3f\t%.3f\t%ld\n", command->name, command->wall[0],
           command->wall[rounds / 2], command->cpu, command->peak);
    free(command->wall);
    free(command->environment);
  }
  return 0;
}
