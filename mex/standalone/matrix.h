#pragma once

/// The part of the MEX matrix interface that kestrel and its tests use, for programs that run
/// without an interpreter: interleaved complex data, 64-bit sizes, names and meanings as MATLAB
/// documents them. C++ only. Where MATLAB leaves the outcome of a misuse undefined (an unknown
/// pointer is freed, the scalar of an empty array is read, a null array is passed), this host says
/// what was misused and aborts, so that a test finds it.

#include <cstddef>
#include <cstdint>

#define MX_HAS_INTERLEAVED_COMPLEX 1

using mxArray = struct mxArray_tag;
using mwSize = std::size_t;
using mwIndex = std::size_t;
using mwSignedIndex = std::ptrdiff_t;

using mxLogical = bool;
using mxChar = char16_t;
using mxDouble = double;
struct mxComplexDouble {
  mxDouble real, imag;
};

enum mxClassID {
  mxUNKNOWN_CLASS = 0,
  mxCELL_CLASS,
  mxSTRUCT_CLASS,
  mxLOGICAL_CLASS,
  mxCHAR_CLASS,
  mxVOID_CLASS,
  mxDOUBLE_CLASS,
  mxSINGLE_CLASS,
  mxINT8_CLASS,
  mxUINT8_CLASS,
  mxINT16_CLASS,
  mxUINT16_CLASS,
  mxINT32_CLASS,
  mxUINT32_CLASS,
  mxINT64_CLASS,
  mxUINT64_CLASS,
  mxFUNCTION_CLASS
};

enum mxComplexity { mxREAL = 0, mxCOMPLEX = 1 };

extern "C" {

// Memory. Null when it cannot be had. What a call allocates and neither frees, hands to an array
// nor makes persistent is reclaimed at the end of the call.
void* mxMalloc(std::size_t bytes);
void* mxCalloc(std::size_t count, std::size_t size);
void* mxRealloc(void* block, std::size_t bytes);
void mxFree(void* block);

// Creation. Null when the memory cannot be had; numeric arrays are zero-filled.
mxArray* mxCreateDoubleMatrix(mwSize m, mwSize n, mxComplexity complexity);
mxArray* mxCreateDoubleScalar(double value);
mxArray* mxCreateNumericMatrix(mwSize m, mwSize n, mxClassID class_id, mxComplexity complexity);
mxArray* mxCreateNumericArray(mwSize count, const mwSize* dimensions, mxClassID class_id,
                              mxComplexity complexity);
mxArray* mxCreateLogicalScalar(mxLogical value);
mxArray* mxCreateString(const char* text);
mxArray* mxCreateCellMatrix(mwSize m, mwSize n);
mxArray* mxCreateStructMatrix(mwSize m, mwSize n, int field_count, const char** names);
mxArray* mxDuplicateArray(const mxArray* array);
void mxDestroyArray(mxArray* array);

// Class and properties.
mxClassID mxGetClassID(const mxArray* array);
const char* mxGetClassName(const mxArray* array);
bool mxIsNumeric(const mxArray* array);  // neither logical nor char
bool mxIsComplex(const mxArray* array);
bool mxIsDouble(const mxArray* array);
bool mxIsLogical(const mxArray* array);
bool mxIsChar(const mxArray* array);
bool mxIsCell(const mxArray* array);
bool mxIsStruct(const mxArray* array);
bool mxIsEmpty(const mxArray* array);
bool mxIsSparse(const mxArray* array);  // never: this host has no sparse arrays

// Dimensions. The setters do not touch the data. There are always two dimensions at least, and
// trailing ones of extent 1 are dropped beyond the second.
std::size_t mxGetM(const mxArray* array);
std::size_t mxGetN(const mxArray* array);  // the product of all dimensions but the first
void mxSetM(mxArray* array, mwSize m);
void mxSetN(mxArray* array, mwSize n);
mwSize mxGetNumberOfDimensions(const mxArray* array);
const mwSize* mxGetDimensions(const mxArray* array);
int mxSetDimensions(mxArray* array, const mwSize* dimensions, mwSize count);  // 0: success
std::size_t mxGetNumberOfElements(const mxArray* array);

// Data. A typed getter answers null for an array of another class or complexity. A
// setter takes a block of this host over and answers 1, or 0 when it does not fit. The block that
// was there before is no longer the array's: free it, or leave it to the end of the call.
void* mxGetData(const mxArray* array);
mxDouble* mxGetDoubles(const mxArray* array);
mxComplexDouble* mxGetComplexDoubles(const mxArray* array);
int mxSetDoubles(mxArray* array, mxDouble* data);
int mxSetComplexDoubles(mxArray* array, mxComplexDouble* data);
double mxGetScalar(const mxArray* array);  // the first element, real part; never of an empty array

/// Copies characters, terminated, into a buffer of `size` bytes. 0: all fitted; 1: cut, or not a
/// character array (then the text is empty).
int mxGetString(const mxArray* array, char* buffer, mwSize size);

// Cells and structures. Values belong to their container; a value that is replaced becomes free
// again and is not destroyed. Getters answer null for what does not exist or was never set.
mxArray* mxGetCell(const mxArray* array, mwIndex index);
void mxSetCell(mxArray* array, mwIndex index, mxArray* value);
int mxGetNumberOfFields(const mxArray* array);
int mxGetFieldNumber(const mxArray* array, const char* name);  // -1: no such field
const char* mxGetFieldNameByNumber(const mxArray* array, int number);
int mxAddField(mxArray* array, const char* name);  // the number, -1: not a structure
mxArray* mxGetField(const mxArray* array, mwIndex index, const char* name);
mxArray* mxGetFieldByNumber(const mxArray* array, mwIndex index, int number);
void mxSetField(mxArray* array, mwIndex index, const char* name, mxArray* value);
void mxSetFieldByNumber(mxArray* array, mwIndex index, int number, mxArray* value);

}  // extern "C"
