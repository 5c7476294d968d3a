/* Console input and output that the example programs share. */
#ifndef CONSOLE_H
#define CONSOLE_H

#include <libvemlo.h>

/* Prints `prompt` and reads a line. Returns the line without its line break, to be released with
 * free(), or null at the end of the input. */
char *readLine(const char *prompt);

/* Converts a number from 1 to `count` to an index from 0 on. Returns -1 for any other text and for
 * null. */
int indexOf(const char *text, int count);

/* Prints the folders with their numbers and reads the user's choice as readLine() does: the number
 * of a folder, "." for the current folder, or "+NAME" to make a folder. */
char *readFolderChoice(const directory *folders, int count);

/* Whether `choice`, which may be null, is ".". */
int isCurrentFolder(const char *choice);

/* Returns the name in a `choice` of the form "+NAME", as a part of it, or null for any other choice
 * and for null. */
const char *nameOfNewFolder(const char *choice);

#endif
