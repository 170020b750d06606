/* peak_rss COMMAND [ARGS...]: runs the command and prints its peak resident size in KiB on
 * standard error ("peak_rss <KiB>"), exiting with its status; SIGTERM and SIGINT are passed on
 * to it. The measuring must be done by a small process: a child's peak counts the memory it was
 * forked with, so a command started straight from a large program (Python) reports at least
 * that program's size. */
#include <signal.h>
#include <errno.h>
#include <stdio.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

static pid_t g_child;

static void PassOn(int signal_number) {
    if (g_child > 0) kill(g_child, signal_number);
}

int main(int argc, char** argv) {
    if (argc < 2) {
        fputs("usage: peak_rss COMMAND [ARGS...]\n", stderr);
        return 2;
    }
    signal(SIGTERM, PassOn);
    signal(SIGINT, PassOn);
    const pid_t pid = fork();
    g_child = pid;
    if (pid == 0) {
        execv(argv[1], argv + 1);
        _exit(127);
    }
    int status = 0;
    struct rusage usage;
    if (pid < 0) return 127;
    while (wait4(pid, &status, 0, &usage) < 0)
        if (errno != EINTR) return 127;
    fprintf(stderr, "peak_rss %ld\n", usage.ru_maxrss);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
