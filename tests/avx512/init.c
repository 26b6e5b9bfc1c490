// The first process of the emulated machine: runs /program with the arguments in /arguments, sends
// its output through a parallel port and its exit status through the serial port, then stops the
// machine.
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/io.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

enum { parallel = 0x378, serial = 0x3F8, serialStatus = 0x3FD, stop = 0x8900 };

// Each strobe makes the emulator append one byte to a file, unchanged and at any speed.
static void sendOutput(const char* bytes, ssize_t count) {
    for (; count > 0; --count) {
        outb((unsigned char)*bytes++, parallel);
        outb(0x0D, parallel + 2);
        outb(0x0C, parallel + 2);
    }
}

static void sendStatus(int status) {
    char text[32];
    snprintf(text, sizeof text, "\nEXIT-STATUS %d\n", status);
    for (const char* p = text; *p; ++p) {
        while (!(inb(serialStatus) & 0x20))
            continue;
        outb((unsigned char)*p, serial);
    }
    while (!(inb(serialStatus) & 0x40))
        continue;
}

static void run(int output) {
    static char text[65536];
    static char* arguments[1024] = {"/program"};
    const int fd = open("/arguments", O_RDONLY);
    const ssize_t size = read(fd, text, sizeof text - 1);
    close(fd);
    int count = 1;
    for (char* p = text; p < text + size && count < 1023; p += strlen(p) + 1)
        arguments[count++] = p;
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    execv(arguments[0], arguments);
    _exit(127);
}

int main(void) {
    int ends[2], status = 0;
    mount("proc", "/proc", "proc", 0, NULL);
    mount("sysfs", "/sys", "sysfs", 0, NULL);
    mount("devtmpfs", "/dev", "devtmpfs", 0, NULL);
    if (pipe(ends) != 0 || iopl(3) != 0)
        return 1;
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        run(ends[1]);
    }
    close(ends[1]);
    char buffer[4096];
    for (ssize_t got; (got = read(ends[0], buffer, sizeof buffer)) > 0;)
        sendOutput(buffer, got);
    waitpid(child, &status, 0);
    sendStatus(WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status));
    for (const char* p = "Shutdown"; *p; ++p)
        outb((unsigned char)*p, stop);
    for (;;)
        pause();
}
