/*
 * A vendor's DLL with exports of every odd kind: by ordinals alone, with arguments in every
 * register and on the stack, forwarded, data, one that ends its process, and one that calls another
 * by its name, as the DLL itself does while it is loaded.
 */

#include <windows.h>

#include <stdarg.h>

struct Big {
    double values[5];
};

__declspec(dllexport) int odd_table[4] = {1, 2, 3, 4};

unsigned short Inp32(unsigned short port);
void Out32(unsigned short port, unsigned short value);
unsigned IsInpOutDriverOpen(void);
long long eight_numbers(int a, int b, int c, int d, int e, int f, int g, long long h);
double eight_doubles(double a, double b, double c, double d, double e, double f, double g,
                     double h);
double mixed(int a, double b, const char* c, double d, int e, double f);
struct Big big(double first, int count);
int sum_of(int count, ...);
unsigned last_error(unsigned next);
int by_ordinal(int value);

static unsigned short last_value;

static void call_by_name(void) {
    const HMODULE found = GetModuleHandleA("inpoutx64.dll");
    void (*const is_open)(void) = (void (*)(void))GetProcAddress(found, "IsInpOutDriverOpen");
    ((unsigned (*)(void))is_open)();
}

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved) {
    (void)module;
    (void)reserved;
    if (reason == DLL_PROCESS_ATTACH) {
        call_by_name();
    }
    return TRUE;
}

unsigned short Inp32(unsigned short port) {
    if (port == 0xDEAD) {
        TerminateProcess(GetCurrentProcess(), 7);
    }
    if (port == 0xCA11) {
        call_by_name();
    }
    SetLastError(port);
    return (unsigned short)(port ^ last_value);
}

void Out32(unsigned short port, unsigned short value) {
    (void)port;
    last_value = value;
    SetLastError(value);
}

unsigned IsInpOutDriverOpen(void) {
    return GetLastError();
}

long long eight_numbers(int a, int b, int c, int d, int e, int f, int g, long long h) {
    return a + 10LL * b + 100LL * c + 1000LL * d + 10000LL * e + 100000LL * f + 1000000LL * g + h;
}

double eight_doubles(double a, double b, double c, double d, double e, double f, double g,
                     double h) {
    return a + 2 * b + 4 * c + 8 * d + 16 * e + 32 * f + 64 * g + 128 * h;
}

double mixed(int a, double b, const char* c, double d, int e, double f) {
    return a + b + c[0] + d + e + f;
}

struct Big big(double first, int count) {
    struct Big made = {{first, count, first * count, 0, 0}};
    return made;
}

int sum_of(int count, ...) {
    int sum = 0;
    va_list arguments;
    va_start(arguments, count);
    for (; count > 0; --count) {
        sum += va_arg(arguments, int);
    }
    va_end(arguments);
    return sum;
}

/* What the caller's last error is, and a new one. */
unsigned last_error(unsigned next) {
    const unsigned found = GetLastError();
    SetLastError(next);
    return found;
}

int by_ordinal(int value) {
    return 3 * value;
}
