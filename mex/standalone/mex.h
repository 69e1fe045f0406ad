#pragma once

/// The part of the MEX interface that kestrel uses, for programs that run without an interpreter.
/// "mex/standalone/standalone_host.h" is the other side of it: it runs entries and collects what
/// they print. C++ only.

#include "matrix.h"

#if defined(__GNUC__)
#define KESTREL_MEX_PRINTF_LIKE(text, first) __attribute__((format(printf, text, first)))
#else
#define KESTREL_MEX_PRINTF_LIKE(text, first)
#endif

extern "C" {

/// A plug-in's entry. Nothing here defines it: a program links the plug-in that it calls.
void mexFunction(int nlhs, mxArray* plhs[], int nrhs, const mxArray* prhs[]);

int mexPrintf(const char* format, ...) KESTREL_MEX_PRINTF_LIKE(1, 2);
void mexWarnMsgTxt(const char* text);
void mexWarnMsgIdAndTxt(const char* identifier, const char* format, ...)
    KESTREL_MEX_PRINTF_LIKE(2, 3);

/// Both unwind, by an exception that is not a std::exception; `standalone::call` ends it.
[[noreturn]] void mexErrMsgTxt(const char* text);
[[noreturn]] void mexErrMsgIdAndTxt(const char* identifier, const char* format, ...)
    KESTREL_MEX_PRINTF_LIKE(2, 3);

/// Calls "fft", "real", "imag" or a function that the program has registered; an error there ends
/// this call too.
int mexCallMATLAB(int nlhs, mxArray* plhs[], int nrhs, mxArray* prhs[], const char* name);

/// Runs the function that the program has registered under the whole text, if there is one; 1 when
/// it made an error call.
int mexEvalString(const char* statement);

void mexMakeMemoryPersistent(void* block);

}  // extern "C"
