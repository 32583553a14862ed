/// Leaks on purpose, for the leak checker: the bank of a Super I/O configuration that failed, and a
/// pending request to the timers' driver. The allocation test and the driver's stand-in find other
/// leaks there.

extern "C" const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_suppressions() {
    return "leak:SLV::Internal::SolvaneKontron::MakeBank\n"
           "leak:MakeWaitRequest\n";
}
