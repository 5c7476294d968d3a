#define _POSIX_C_SOURCE 200809L

#include "console.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

char *readLine(const char *prompt) {
  char *line = NULL;
  size_t size = 0;
  fputs(prompt, stdout);
  fflush(stdout);
  if (getline(&line, &size, stdin) < 0) {
    free(line);
    return NULL;
  }
  line[strcspn(line, "\n")] = '\0';
  return line;
}

int indexOf(const char *text, int count) {
  long number;
  if (text == NULL || text[0] == '\0' || text[strspn(text, "0123456789")] != '\0') return -1;
  number = strtol(text, NULL, 10);
  return number >= 1 && number <= count ? (int)(number - 1) : -1;
}

char *readFolderChoice(const directory *folders, int count) {
  int i;
  for (i = 0; i < count; ++i) printf("%d  %s\n", i + 1, folders[i].name);
  return readLine("Folder number, + and a name for a new one, or . for this one: ");
}

int isCurrentFolder(const char *choice) { return choice != NULL && strcmp(choice, ".") == 0; }

const char *nameOfNewFolder(const char *choice) {
  return choice != NULL && choice[0] == '+' ? choice + 1 : NULL;
}
