// Preloaded into a program, this makes it misbehave when it opens a file whose name says so. It stands for
// what a bad message could do to its reader; nothing in the reader itself knows of it.
//
//     crash-me...    the process gets SIGSEGV
//     hang-me...     the open never comes back
//     eat-me...      takes address space until there is hardly any left, and fails
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#define PIECE ((size_t)8 << 20)

static int misbehaves(const char* path) {
    const char* slash = strrchr(path, '/');
    const char* name = slash != NULL ? slash + 1 : path;
    if (strncmp(name, "crash-me", 8) == 0) {
        signal(SIGSEGV, SIG_DFL);  // a sanitizer's handler takes long
        raise(SIGSEGV);
    }
    if (strncmp(name, "hang-me", 7) == 0) {
        for (;;) pause();
    }
    if (strncmp(name, "eat-me", 6) != 0) return 0;
    void* last = MAP_FAILED;
    for (int i = 0; i < 1024; ++i) {
        void* piece = mmap(NULL, PIECE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (piece == MAP_FAILED) {
            if (last != MAP_FAILED) munmap(last, PIECE);
            errno = ENOMEM;
            return 1;
        }
        last = piece;
    }
    raise(SIGABRT);  // nobody has set a limit
    return 1;
}

static int pass(const char* entry, const char* path, int flags, mode_t mode) {
    if (misbehaves(path)) return -1;
    int (*next)(const char*, int, ...) = NULL;
    *(void**)&next = dlsym(RTLD_NEXT, entry);
    return next(path, flags, mode);
}

int open(const char* path, int flags, ...) {
    va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    return pass("open", path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    return pass("open64", path, flags, mode);
}
