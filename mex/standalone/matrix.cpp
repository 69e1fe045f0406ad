#include "mex/standalone/matrix.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "mex/standalone/registry.h"

using namespace kestrel::standalone;

struct mxArray_tag {
  mxClassID class_id = mxUNKNOWN_CLASS;
  bool is_complex = false;
  std::vector<mwSize> dimensions;
  /// Numbers, characters, logicals: a block of the registry. Null for cells, structures and when
  /// empty.
  void* data = nullptr;
  /// Names of a structure's fields; a cell array has one nameless column of values.
  std::vector<std::string> field_names;
  /// By field, then by element.
  std::vector<std::vector<mxArray*>> values;
};

namespace {

struct ClassTraits {
  const char* name;
  std::size_t size;
  mxClassID id;
  bool is_numeric;
};

constexpr ClassTraits class_table[] = {
    {"cell", sizeof(mxArray*), mxCELL_CLASS, false},
    {"struct", sizeof(mxArray*), mxSTRUCT_CLASS, false},
    {"logical", sizeof(mxLogical), mxLOGICAL_CLASS, false},
    {"char", sizeof(mxChar), mxCHAR_CLASS, false},
    {"double", 8, mxDOUBLE_CLASS, true},
    {"single", 4, mxSINGLE_CLASS, true},
    {"int8", 1, mxINT8_CLASS, true},
    {"uint8", 1, mxUINT8_CLASS, true},
    {"int16", 2, mxINT16_CLASS, true},
    {"uint16", 2, mxUINT16_CLASS, true},
    {"int32", 4, mxINT32_CLASS, true},
    {"uint32", 4, mxUINT32_CLASS, true},
    {"int64", 8, mxINT64_CLASS, true},
    {"uint64", 8, mxUINT64_CLASS, true},
};

const ClassTraits& traits(mxClassID class_id) {
  for (const ClassTraits& entry : class_table) {
    if (entry.id == class_id) return entry;
  }
  misuse("an array of an unsupported class");
}

/// Every function's first look at its array.
template <class Array>
Array& checked(Array* array) {
  if (array == nullptr) misuse("an array is null");
  if (!arrays().contains(array)) misuse("an array is not alive");
  return *array;
}

std::size_t element_count(const mxArray& array) {
  std::size_t count = 1;
  for (const mwSize extent : array.dimensions) count *= extent;
  return count;
}

std::size_t element_size(const mxArray& array) {
  return traits(array.class_id).size * (array.is_complex ? 2 : 1);
}

std::vector<mwSize> normal_dimensions(const mwSize* dimensions, mwSize count) {
  std::vector<mwSize> normal(dimensions, dimensions + count);
  normal.resize(std::max<std::size_t>(count, 2), 1);
  while (normal.size() > 2 && normal.back() == 1) normal.pop_back();
  return normal;
}

/// False when the number of elements cannot be counted.
bool is_countable(const std::vector<mwSize>& dimensions) {
  std::size_t count = 1;
  for (const mwSize extent : dimensions) {
    if (extent == 0) return true;
    if (count > std::numeric_limits<std::ptrdiff_t>::max() / extent) return false;
    count *= extent;
  }
  return true;
}

/// An array with zero-filled data, owned by the running call; null without the memory.
mxArray* create(std::vector<mwSize> dimensions, mxClassID class_id, bool is_complex = false) {
  if (!is_countable(dimensions) || !allocation_granted()) return nullptr;
  auto made = std::make_unique<mxArray>();
  made->class_id = class_id;
  made->is_complex = is_complex;
  made->dimensions = std::move(dimensions);
  arrays().add(made.get());
  mxArray* array = made.release();
  const std::size_t count = element_count(*array);
  const bool has_data = class_id != mxCELL_CLASS && class_id != mxSTRUCT_CLASS;
  if (has_data && count > 0) {
    array->data = allocate_block(count, element_size(*array));
    if (array->data == nullptr) {
      mxDestroyArray(array);
      return nullptr;
    }
    blocks().contain(array->data, array);
  }
  if (class_id == mxCELL_CLASS) array->values.emplace_back(count);
  return array;
}

int index_of(const mxArray& array, const char* name) {
  const auto found = std::find(array.field_names.begin(), array.field_names.end(), name);
  return found == array.field_names.end() ? -1
                                          : static_cast<int>(found - array.field_names.begin());
}

mxArray* value_at(const mxArray& array, mwIndex index, int column) {
  if (column < 0 || static_cast<std::size_t>(column) >= array.values.size()) return nullptr;
  const std::vector<mxArray*>& values = array.values[static_cast<std::size_t>(column)];
  return index < values.size() ? values[index] : nullptr;
}

void set_value_at(mxArray& array, mwIndex index, int column, mxArray* value) {
  if (column < 0 || static_cast<std::size_t>(column) >= array.values.size()) {
    misuse("a value is put into a field that does not exist");
  }
  std::vector<mxArray*>& values = array.values[static_cast<std::size_t>(column)];
  if (index >= values.size()) misuse("a value is put past the end of an array");
  if (values[index] == value) return;
  if (value != nullptr) arrays().contain(value, &array);
  if (values[index] != nullptr) arrays().set_free(values[index], &array);
  values[index] = value;
}

bool holds_doubles(const mxArray& array, bool is_complex) {
  return array.class_id == mxDOUBLE_CLASS && array.is_complex == is_complex;
}

template <class T>
T* doubles_of(const mxArray* array, bool is_complex) {
  return holds_doubles(checked(array), is_complex) ? static_cast<T*>(array->data) : nullptr;
}

int set_doubles(mxArray* array, void* data, bool is_complex) {
  mxArray& target = checked(array);
  if (!holds_doubles(target, is_complex)) return 0;
  if (target.data == data) return 1;
  if (data != nullptr) blocks().contain(data, array);
  if (target.data != nullptr) blocks().set_free(target.data, array);
  target.data = data;
  return 1;
}

template <class T>
double first_of(const mxArray& array) {
  return static_cast<double>(*static_cast<const T*>(array.data));
}

}  // namespace

// ---- creation ----

mxArray* mxCreateDoubleMatrix(mwSize m, mwSize n, mxComplexity complexity) {
  return mxCreateNumericMatrix(m, n, mxDOUBLE_CLASS, complexity);
}

mxArray* mxCreateDoubleScalar(double value) {
  mxArray* array = mxCreateDoubleMatrix(1, 1, mxREAL);
  if (array != nullptr) *mxGetDoubles(array) = value;
  return array;
}

mxArray* mxCreateNumericMatrix(mwSize m, mwSize n, mxClassID class_id, mxComplexity complexity) {
  const mwSize dimensions[] = {m, n};
  return mxCreateNumericArray(2, dimensions, class_id, complexity);
}

mxArray* mxCreateNumericArray(mwSize count, const mwSize* dimensions, mxClassID class_id,
                              mxComplexity complexity) {
  if (!traits(class_id).is_numeric) misuse("a numeric array of a class that is not numeric");
  return create(normal_dimensions(dimensions, count), class_id, complexity == mxCOMPLEX);
}

mxArray* mxCreateLogicalScalar(mxLogical value) {
  mxArray* array = create({1, 1}, mxLOGICAL_CLASS);
  if (array != nullptr) *static_cast<mxLogical*>(array->data) = value;
  return array;
}

mxArray* mxCreateString(const char* text) {
  const std::size_t length = std::strlen(text);
  mxArray* array = create({length == 0 ? 0u : 1u, length}, mxCHAR_CLASS);
  if (array == nullptr) return nullptr;
  std::transform(text, text + length, static_cast<mxChar*>(array->data),
                 [](char byte) { return static_cast<mxChar>(static_cast<unsigned char>(byte)); });
  return array;
}

mxArray* mxCreateCellMatrix(mwSize m, mwSize n) { return create({m, n}, mxCELL_CLASS); }

mxArray* mxCreateStructMatrix(mwSize m, mwSize n, int field_count, const char** names) {
  mxArray* array = create({m, n}, mxSTRUCT_CLASS);
  if (array == nullptr) return nullptr;
  for (int field = 0; field < field_count; ++field) mxAddField(array, names[field]);
  return array;
}

mxArray* mxDuplicateArray(const mxArray* array) {
  const mxArray& original = checked(array);
  mxArray* copy = create(original.dimensions, original.class_id, original.is_complex);
  if (copy == nullptr) return nullptr;
  if (copy->data != nullptr && original.data != nullptr) {
    std::memcpy(copy->data, original.data, element_count(original) * element_size(original));
  }
  copy->field_names = original.field_names;
  copy->values.assign(original.values.size(), std::vector<mxArray*>(element_count(original)));
  for (std::size_t column = 0; column < original.values.size(); ++column) {
    for (std::size_t index = 0; index < original.values[column].size(); ++index) {
      const mxArray* value = original.values[column][index];
      if (value == nullptr) continue;
      mxArray* duplicate = mxDuplicateArray(value);
      if (duplicate == nullptr) {
        mxDestroyArray(copy);
        return nullptr;
      }
      set_value_at(*copy, index, static_cast<int>(column), duplicate);
    }
  }
  return copy;
}

void mxDestroyArray(mxArray* array) {
  if (array == nullptr) return;
  if (!arrays().contains(array)) misuse("mxDestroyArray of an unknown array");
  for (std::vector<mxArray*>& column : array->values) {
    for (mxArray* value : column) mxDestroyArray(value);
  }
  // A caller may have freed or moved the data itself, as MATLAB permits before a mxSet* call.
  if (array->data != nullptr && blocks().is_contained_in(array->data, array)) mxFree(array->data);
  arrays().remove(array);
  delete array;
}

// ---- class and properties ----

mxClassID mxGetClassID(const mxArray* array) { return checked(array).class_id; }

const char* mxGetClassName(const mxArray* array) { return traits(checked(array).class_id).name; }

bool mxIsNumeric(const mxArray* array) { return traits(checked(array).class_id).is_numeric; }
bool mxIsComplex(const mxArray* array) { return checked(array).is_complex; }
bool mxIsDouble(const mxArray* array) { return mxGetClassID(array) == mxDOUBLE_CLASS; }
bool mxIsLogical(const mxArray* array) { return mxGetClassID(array) == mxLOGICAL_CLASS; }
bool mxIsChar(const mxArray* array) { return mxGetClassID(array) == mxCHAR_CLASS; }
bool mxIsCell(const mxArray* array) { return mxGetClassID(array) == mxCELL_CLASS; }
bool mxIsStruct(const mxArray* array) { return mxGetClassID(array) == mxSTRUCT_CLASS; }
bool mxIsEmpty(const mxArray* array) { return mxGetNumberOfElements(array) == 0; }

bool mxIsSparse(const mxArray* array) {
  checked(array);
  return false;
}

// ---- dimensions ----

std::size_t mxGetM(const mxArray* array) { return checked(array).dimensions[0]; }

std::size_t mxGetN(const mxArray* array) {
  const std::vector<mwSize>& dimensions = checked(array).dimensions;
  std::size_t product = 1;
  for (std::size_t i = 1; i < dimensions.size(); ++i) product *= dimensions[i];
  return product;
}

void mxSetM(mxArray* array, mwSize m) {
  std::vector<mwSize> dimensions = checked(array).dimensions;
  dimensions[0] = m;
  mxSetDimensions(array, dimensions.data(), dimensions.size());
}

void mxSetN(mxArray* array, mwSize n) {
  const mwSize dimensions[] = {mxGetM(array), n};
  mxSetDimensions(array, dimensions, 2);
}

mwSize mxGetNumberOfDimensions(const mxArray* array) { return checked(array).dimensions.size(); }

const mwSize* mxGetDimensions(const mxArray* array) { return checked(array).dimensions.data(); }

int mxSetDimensions(mxArray* array, const mwSize* dimensions, mwSize count) {
  mxArray& target = checked(array);
  std::vector<mwSize> normal = normal_dimensions(dimensions, count);
  if (!is_countable(normal)) return 1;
  target.dimensions = std::move(normal);
  const std::size_t elements = element_count(target);
  for (std::vector<mxArray*>& column : target.values) {
    for (std::size_t i = elements; i < column.size(); ++i) mxDestroyArray(column[i]);
    column.resize(elements);
  }
  return 0;
}

std::size_t mxGetNumberOfElements(const mxArray* array) { return element_count(checked(array)); }

// ---- data ----

void* mxGetData(const mxArray* array) { return checked(array).data; }

mxDouble* mxGetDoubles(const mxArray* array) { return doubles_of<mxDouble>(array, false); }

mxComplexDouble* mxGetComplexDoubles(const mxArray* array) {
  return doubles_of<mxComplexDouble>(array, true);
}

int mxSetDoubles(mxArray* array, mxDouble* data) { return set_doubles(array, data, false); }

int mxSetComplexDoubles(mxArray* array, mxComplexDouble* data) {
  return set_doubles(array, data, true);
}

double mxGetScalar(const mxArray* array) {
  const mxArray& source = checked(array);
  if (source.data == nullptr || element_count(source) == 0) misuse("mxGetScalar without a number");
  switch (source.class_id) {
    case mxLOGICAL_CLASS:
      return first_of<mxLogical>(source);
    case mxCHAR_CLASS:
      return first_of<mxChar>(source);
    case mxDOUBLE_CLASS:
      return first_of<double>(source);
    case mxSINGLE_CLASS:
      return first_of<float>(source);
    case mxINT8_CLASS:
      return first_of<std::int8_t>(source);
    case mxUINT8_CLASS:
      return first_of<std::uint8_t>(source);
    case mxINT16_CLASS:
      return first_of<std::int16_t>(source);
    case mxUINT16_CLASS:
      return first_of<std::uint16_t>(source);
    case mxINT32_CLASS:
      return first_of<std::int32_t>(source);
    case mxUINT32_CLASS:
      return first_of<std::uint32_t>(source);
    case mxINT64_CLASS:
      return first_of<std::int64_t>(source);
    case mxUINT64_CLASS:
      return first_of<std::uint64_t>(source);
    default:
      misuse("mxGetScalar of an array that holds no numbers");
  }
}

int mxGetString(const mxArray* array, char* buffer, mwSize size) {
  const mxArray& source = checked(array);
  if (size == 0) return 1;
  buffer[0] = '\0';
  if (source.class_id != mxCHAR_CLASS) return 1;
  const std::size_t length = element_count(source);
  const std::size_t copied = std::min(length, size - 1);
  const auto* characters = static_cast<const mxChar*>(source.data);
  std::transform(characters, characters + copied, buffer,
                 [](mxChar character) { return static_cast<char>(character); });
  buffer[copied] = '\0';
  return copied == length ? 0 : 1;
}

// ---- cells and structures ----

mxArray* mxGetCell(const mxArray* array, mwIndex index) {
  const mxArray& source = checked(array);
  return source.class_id == mxCELL_CLASS ? value_at(source, index, 0) : nullptr;
}

void mxSetCell(mxArray* array, mwIndex index, mxArray* value) {
  if (!mxIsCell(array)) misuse("mxSetCell of an array that is not a cell array");
  set_value_at(*array, index, 0, value);
}

int mxGetNumberOfFields(const mxArray* array) {
  return static_cast<int>(checked(array).field_names.size());
}

int mxGetFieldNumber(const mxArray* array, const char* name) {
  return index_of(checked(array), name);
}

const char* mxGetFieldNameByNumber(const mxArray* array, int number) {
  if (number < 0 || number >= mxGetNumberOfFields(array)) return nullptr;
  return array->field_names[static_cast<std::size_t>(number)].c_str();
}

int mxAddField(mxArray* array, const char* name) {
  mxArray& target = checked(array);
  if (target.class_id != mxSTRUCT_CLASS) return -1;
  const int existing = index_of(target, name);
  if (existing >= 0) return existing;
  target.field_names.emplace_back(name);
  target.values.emplace_back(element_count(target));
  return static_cast<int>(target.field_names.size()) - 1;
}

mxArray* mxGetField(const mxArray* array, mwIndex index, const char* name) {
  const mxArray& source = checked(array);
  return value_at(source, index, index_of(source, name));
}

mxArray* mxGetFieldByNumber(const mxArray* array, mwIndex index, int number) {
  const mxArray& source = checked(array);
  return source.class_id == mxSTRUCT_CLASS ? value_at(source, index, number) : nullptr;
}

void mxSetField(mxArray* array, mwIndex index, const char* name, mxArray* value) {
  mxArray& target = checked(array);
  set_value_at(target, index, index_of(target, name), value);
}

void mxSetFieldByNumber(mxArray* array, mwIndex index, int number, mxArray* value) {
  mxArray& target = checked(array);
  if (target.class_id != mxSTRUCT_CLASS) misuse("a field is set in an array that has no fields");
  set_value_at(target, index, number, value);
}
