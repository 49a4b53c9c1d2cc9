/* Usage: reload PLUG_IN KILOBYTES. Loads and unloads a plug-in a hundred times and runs its main
 * every tenth time; files and threads must not add up, nor memory beyond that much. What comes and
 * goes is no fault: huge pages are off, since one of them outweighs any leak, all threads share one
 * heap, and the most of ten early rounds is held against the least of ten late ones. */
#include <dirent.h>
#include <dlfcn.h>
#include <limits.h>
#include <malloc.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <unistd.h>

static int CountEntries(const char* path)
{
    int count = 0;
    DIR* folder = opendir(path);
    while (readdir(folder) != NULL) {
        ++count;
    }
    closedir(folder);
    return count;
}

static long ResidentKilobytes(void)
{
    long pages = 0;
    FILE* file = fopen("/proc/self/statm", "r");
    if (file == NULL || fscanf(file, "%*d %ld", &pages) != 1) {
        exit(1);
    }
    fclose(file);
    return pages * (sysconf(_SC_PAGESIZE) / 1024);
}

/* Joined threads stay listed until the system has taken them away. */
static int SettledThreads(int expected)
{
    int count = CountEntries("/proc/self/task");
    for (int wait = 0; count > expected && wait < 1000; ++wait) {
        usleep(10000);
        count = CountEntries("/proc/self/task");
    }
    return count;
}

int main(int argc, char** argv)
{
    int files = 0, threads = 0;
    long early = 0, late = LONG_MAX;
    mallopt(M_ARENA_MAX, 1);
    prctl(PR_SET_THP_DISABLE, 1, 0, 0, 0);
    for (int round = 0; round < 100 && argc == 3; ++round) {
        int (*run)(void) = NULL;
        void* plugIn = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
        if (plugIn != NULL) {
            *(void**)&run = dlsym(plugIn, "main");
        }
        if (run == NULL || (round % 10 == 0 && run() != 0) || dlclose(plugIn) != 0) {
            printf("round %d: %s\n", round, run == NULL ? dlerror() : "failed");
            return 1;
        }
        const long resident = ResidentKilobytes();
        if (round == 10) {
            files = CountEntries("/proc/self/fd");
            threads = CountEntries("/proc/self/task");
        }
        if (round / 10 == 1 && resident > early) {
            early = resident;
        }
        if (round / 10 == 9 && resident < late) {
            late = resident;
        }
    }
    files = CountEntries("/proc/self/fd") - files;
    threads = SettledThreads(threads) - threads;
    printf("files %+d, threads %+d, memory %+ld kB\n", files, threads, late - early);
    return argc == 3 && files <= 0 && threads <= 0 && late - early < atol(argv[2]) ? 0 : 1;
}
