// Everything that C has to say about the heap.
#include <stdlib.h>
#include <string.h>

void *Resize(void *block, size_t size);
char *Copy(const char *text);
void *Fresh(size_t size, int cleared);
void Release(void *block);

void *Fresh(size_t size, int cleared) {
    return cleared ? calloc(1, size) : malloc(size);
}
void *Resize(void *block, size_t size) {
    return realloc(block, size);
}
char *Copy(const char *text) {
    return strdup(text);
}
void Release(void *block) {
    free(block);
}
