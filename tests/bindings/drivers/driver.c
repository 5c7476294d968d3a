/* Carries out commands on standard input with the C interface, and writes their results to standard
 * output. The lines are those that the drivers of all languages have in common. */
#define _POSIX_C_SOURCE 200809L

#include <libvemlo_service_client.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include "c/commands.h"
#include "c/lines.h"

enum { MAX_WORDS = 32, MAX_THREADS = 256 };

static int run(driver_command *command);

static void showNumber(const char *word, int64_t number) {
  output_line line;
  beginLine(&line, word);
  addNumber(&line, number);
  endLine(&line);
}

/* The command without its first `count` words. */
static driver_command rest(const driver_command *whole, int count) {
  driver_command part = *whole;
  if (whole->count <= count) refuse("a command is missing");
  part.words += count;
  part.count -= count;
  return part;
}

/* Runs the command that follows a word and a number. */
static int runRest(driver_command *whole) {
  driver_command part = rest(whole, 2);
  const int succeeded = run(&part);
  whole->entries = part.entries;
  return succeeded;
}

static int runWithin(driver_command *command) {
  int succeeded;
  vemlo_client_set_deadline(vemlo_client_now() + atoi(command->words[1]));
  succeeded = runRest(command);
  vemlo_client_set_deadline(0);
  return succeeded;
}

/* Cancels a call later, unless it ends before. */
typedef struct alarm_clock {
  pthread_mutex_t mutex;
  pthread_cond_t ended;
  int hasEnded;
  struct timespec time;
  vemlo_client_cancellation *cancellation;
} alarm_clock;

static void *cancelLater(void *argument) {
  alarm_clock *const clock = argument;
  int result = 0;
  pthread_mutex_lock(&clock->mutex);
  while (!clock->hasEnded && result == 0) {
    result = pthread_cond_timedwait(&clock->ended, &clock->mutex, &clock->time);
  }
  if (!clock->hasEnded) vemlo_client_cancellation_trigger(clock->cancellation);
  pthread_mutex_unlock(&clock->mutex);
  return NULL;
}

static struct timespec after(int milliseconds) {
  struct timespec time;
  clock_gettime(CLOCK_REALTIME, &time);
  time.tv_sec += milliseconds / 1000;
  time.tv_nsec += milliseconds % 1000 * 1000000L;
  if (time.tv_nsec >= 1000000000L) {
    time.tv_nsec -= 1000000000L;
    ++time.tv_sec;
  }
  return time;
}

static int runCancelledAfter(driver_command *command) {
  alarm_clock clock = {PTHREAD_MUTEX_INITIALIZER, PTHREAD_COND_INITIALIZER, 0, {0, 0}, NULL};
  pthread_t thread;
  int succeeded;
  clock.time = after(atoi(command->words[1]));
  clock.cancellation = vemlo_client_cancellation_create();
  if (clock.cancellation == NULL) refuse("there is no cancellation");
  vemlo_client_set_cancellation(clock.cancellation);
  if (pthread_create(&thread, NULL, cancelLater, &clock) != 0) refuse("there is no thread");
  succeeded = runRest(command);
  pthread_mutex_lock(&clock.mutex);
  clock.hasEnded = 1;
  pthread_cond_signal(&clock.ended);
  pthread_mutex_unlock(&clock.mutex);
  pthread_join(thread, NULL);
  vemlo_client_set_cancellation(NULL);
  vemlo_client_cancellation_release(clock.cancellation);
  return succeeded;
}

static int showProgress(const vemlo_client_progress *progress, void *user) {
  const driver_command *const command = user;
  if (!command->isQuiet) {
    output_line line;
    beginLine(&line, "progress");
    addNumber(&line, (int64_t)progress->requests);
    addNumber(&line, (int64_t)progress->bytes);
    addNumber(&line, (int64_t)progress->entries);
    endLine(&line);
  }
  return progress->requests >= strtoull(command->words[1], NULL, 10);
}

static int runCancelledAtRequest(driver_command *command) {
  int succeeded;
  vemlo_client_set_progress_callback(showProgress, command);
  succeeded = runRest(command);
  vemlo_client_set_progress_callback(NULL, NULL);
  return succeeded;
}

/* What one of several threads does. */
typedef struct thread_work {
  driver_command command;
  int times;
  int failures;
  int64_t entries;
} thread_work;

static void *runTimes(void *argument) {
  thread_work *const work = argument;
  for (int i = 0; i < work->times; ++i) {
    if (!run(&work->command)) ++work->failures;
    work->entries += work->command.entries;
    work->command.entries = 0;
  }
  return NULL;
}

static int runOnThreads(driver_command *whole) {
  static pthread_t threads[MAX_THREADS];
  static thread_work works[MAX_THREADS];
  const int count = atoi(whole->words[1]);
  const thread_work part = {rest(whole, 3), atoi(whole->words[2]), 0, 0};
  thread_work all = part;
  if (count > MAX_THREADS) refuse("too many threads");
  for (int i = 0; i < count; ++i) {
    works[i] = part;
    works[i].command.isQuiet = 1;
    if (pthread_create(&threads[i], NULL, runTimes, &works[i]) != 0) refuse("there is no thread");
  }
  for (int i = 0; i < count; ++i) {
    pthread_join(threads[i], NULL);
    all.failures += works[i].failures;
    all.entries += works[i].entries;
  }
  showNumber("succeeded", (int64_t)count * part.times - all.failures);
  showNumber("entries", all.entries);
  showNumber("failures", all.failures);
  return 1;
}

static int64_t residentKilobytes(void) {
  long pages = 0;
  FILE *const file = fopen("/proc/self/statm", "r");
  if (file == NULL || fscanf(file, "%*d %ld", &pages) != 1) refuse("/proc is not readable");
  fclose(file);
  return (int64_t)pages * (sysconf(_SC_PAGESIZE) / 1024);
}

static int runRepeatedly(driver_command *whole) {
  thread_work warmUp = {rest(whole, 2), atoi(whole->words[1]) / 10, 0, 0};
  thread_work measured;
  int64_t before;
  output_line line;
  warmUp.command.isQuiet = 1;
  measured = warmUp;
  measured.times = atoi(whole->words[1]) - warmUp.times;
  runTimes(&warmUp);
  before = residentKilobytes();
  runTimes(&measured);
  beginLine(&line, "memory");
  addNumber(&line, before);
  addNumber(&line, residentKilobytes());
  endLine(&line);
  showNumber("failures", warmUp.failures + measured.failures);
  return 1;
}

/* Returns whether the command succeeded. If not, its failure has been written. */
static int run(driver_command *command) {
  const char *const name = command->words[0];
  if (strcmp(name, "within") == 0) return runWithin(command);
  if (strcmp(name, "cancel-after") == 0) return runCancelledAfter(command);
  if (strcmp(name, "cancel-at-request") == 0) return runCancelledAtRequest(command);
  if (strcmp(name, "threads") == 0) return runOnThreads(command);
  if (strcmp(name, "repeat") == 0) return runRepeatedly(command);
  return carryOut(command);
}

int main(void) {
  char *text = NULL;
  size_t size = 0;
  char *words[MAX_WORDS];
  while (getline(&text, &size, stdin) > 0) {
    driver_command command = {words, splitLine(text, words, MAX_WORDS), 0, 0};
    if (command.count < 1) refuse("a line that is no command");
    if (strcmp(words[0], "quit") == 0) break;
    if (run(&command)) {
      output_line line;
      beginLine(&line, "done");
      endLine(&line);
    }
  }
  free(text);
  closeEverything();
  return 0;
}
