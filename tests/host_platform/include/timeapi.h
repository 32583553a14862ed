#pragma once

extern "C" {

unsigned timeBeginPeriod(unsigned milliseconds);
unsigned timeEndPeriod(unsigned milliseconds);

} // extern "C"
