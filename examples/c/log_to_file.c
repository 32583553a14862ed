/* Writes the library's log of how it finds the hardware to a file: log_to_file [solvane.log] */

#include <stdio.h>

#include <solvane/solvane.h>

struct log {
    FILE* file;
    int lines;
};

/* Called in the middle of operations, so it returns quickly, and it calls nothing of Solvane's. The
 * line has no line break, and is gone after the call. */
static void SOLVANE_CALL on_line(void* context, const char* line) {
    struct log* log = (struct log*)context;
    fprintf(log->file, "%s\n", line);
    log->lines++;
}

int main(int argc, char** argv) {
    const char* path = argc > 1 ? argv[1] : "solvane.log";
    struct log log = {NULL, 0};
    int16_t status;

    log.file = fopen(path, "w");
    if (log.file == NULL) {
        perror(path);
        return 1;
    }
    Solvane_SetLogger(&log, on_line); /* first: earlier lines are lost */
    status = Solvane_CheckAvailable();
    Solvane_SetLogger(NULL, NULL); /* before the file closes: the library's unload logs too */
    if (fclose(log.file) != 0) {
        perror(path);
        return 1;
    }

    printf("%d lines logged\n", log.lines);
    if (status != SOLVANE_OK) {
        fprintf(stderr, "Solvane_CheckAvailable: status %d\n", status);
        return 1;
    }
    return 0;
}
