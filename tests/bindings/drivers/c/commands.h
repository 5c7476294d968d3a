/* The commands that are calls of libvemlo.h and libvemlo_service_client.h. */
#ifndef COMMANDS_H
#define COMMANDS_H

#include <stdint.h>

typedef struct driver_command {
  /* The words of the command, its name first. */
  char *const *words;
  int count;
  /* Whether results are counted only, and failures not described. */
  int isQuiet;
  /* Set by the command: how many entries its results have. */
  int64_t entries;
} driver_command;

/* Carries out `command` and writes its results, or the line that describes its failure. Returns
 * whether it succeeded. Ends the process if there is no such command. */
int carryOut(driver_command *command);

/* Closes the sessions that are open and the library. */
void closeEverything(void);

/* Ends the process because it does not understand a command. */
void refuse(const char *reason);

#endif
