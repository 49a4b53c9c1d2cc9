/* Usage: reload PLUG_IN KILOBYTES. Loads and unloads a plug-in a hundred times and runs its main
 * every tenth time; files and threads must not add up, nor memory beyond that much. Huge pages are
 * off, since one of them outweighs any leak; a thread that was joined may stay listed for a moment,
 * so that a count which falls is no fault. */
#include <dirent.h>
#include <dlfcn.h>
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

int main(int argc, char** argv)
{
    int files = 0, threads = 0;
    long memory = 0;
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
        if (round == 10) {
            files = CountEntries("/proc/self/fd");
            threads = CountEntries("/proc/self/task");
            memory = ResidentKilobytes();
        }
    }
    files -= CountEntries("/proc/self/fd");
    threads -= CountEntries("/proc/self/task");
    memory -= ResidentKilobytes();
    printf("files %+d, threads %+d, memory %+ld kB\n", -files, -threads, -memory);
    return argc == 3 && files >= 0 && threads >= 0 && -memory < atol(argv[2]) ? 0 : 1;
}
