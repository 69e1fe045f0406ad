#include "kestrel/excitation.h"

#include <cmath>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "tests/boundary/outcome.h"

namespace kestrel {
namespace {

using standalone::StructArray;
using standalone::Value;

const std::string wrong_type =
    "Invalid excitation function type. Please see the documentation for set_excitation_function "
    "for a list of valid types.\n";
const std::string wrong_rows =
    "Excitation function must have either exactly one row or one row per element.";

StructArray pulse_rows(std::size_t rows, double type = 1) {
  StructArray s(rows);
  for (std::size_t i = 0; i < rows; ++i) {
    s.set("type", type, i).set("A0", 1.0 + i, i).set("f0", 1e6, i);
    s.set("pulse_width", 3e-6, i).set("B", 2e6, i);
  }
  return s;
}

StructArray sampled_rows(std::size_t rows) {
  StructArray s(rows);
  for (std::size_t i = 0; i < rows; ++i) {
    s.set("signal", {0.0, 1.0 + i, 0.0, -1.0 - i}, i).set("ts", 1e-7, i).set("w", 4e-7, i);
    s.set("clip_threshold", 0.0, i);
  }
  return s;
}

using Excitations = std::vector<std::unique_ptr<ExcitationFunction>>;

Excitations read(const mxArray* structure, int nelements) {
  std::vector<ExcitationFunction*> raw;
  ExcitationFunction::excitation_vector(&raw, structure, nelements);
  return Excitations(raw.begin(), raw.end());
}

std::string failure(const mxArray* structure, int nelements) {
  const standalone::Live before = standalone::live();
  std::vector<ExcitationFunction*> raw;
  const Outcome outcome =
      outcome_of([&] { ExcitationFunction::excitation_vector(&raw, structure, nelements); });
  EXPECT_TRUE(raw.empty()) << "half a list was left behind";
  EXPECT_EQ(standalone::live(), before) << "something leaked";
  return outcome.error.value_or("");
}

TEST(ExcitationStructure, OneRowServesAllElements) {
  const StructArray one = pulse_rows(1, 2.9);  // the type is cut to 2
  const Excitations made = read(one, 3);
  ASSERT_EQ(made.size(), 3u);
  EXPECT_NE(made[0], made[1]);
  for (const auto& e : made) {
    EXPECT_EQ(e->get_type(), 2);
    EXPECT_EQ(e->number_of_tsd_terms(), 6);
    EXPECT_EQ(e->get_A0(), 1.0);
    EXPECT_EQ(e->get_f0(), 1e6);
    EXPECT_EQ(e->get_B(), 2e6);
    EXPECT_EQ(e->get_pulse_width(), 3e-6);
    EXPECT_EQ(e->get_nxtimesamples(), 0);
  }
}

TEST(ExcitationStructure, RowIBelongsToElementI) {
  StructArray three = pulse_rows(3);
  three.set("type", 3.0, 2);
  const Excitations pulses = read(three, 3);
  EXPECT_EQ(pulses[1]->get_A0(), 2.0);
  EXPECT_EQ(pulses[2]->number_of_tsd_terms(), 8);

  const StructArray signals = sampled_rows(3);
  const Excitations sampled = read(signals, 3);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(sampled[i]->get_type(), 0);
    EXPECT_EQ(sampled[i]->get_pulse_width(), 4e-7);
    EXPECT_NEAR(sampled[i]->at(1e-7), 1.0 + i, 1e-14);
  }
  EXPECT_TRUE(read(pulse_rows(1), 0).empty());
}

TEST(ExcitationStructure, WhatIsRefused) {
  EXPECT_EQ(failure(pulse_rows(2), 3), wrong_rows);
  EXPECT_EQ(failure(pulse_rows(3), 2), wrong_rows);
  EXPECT_EQ(failure(StructArray(0), 2), wrong_rows);
  for (const double type : {0.0, 0.9, 4.0, -1.0, 1e300, std::nan("")}) {
    EXPECT_EQ(failure(pulse_rows(1, type), 2), wrong_type) << type;
  }
  StructArray last_bad = pulse_rows(3);
  last_bad.set("type", 7.0, 2);
  EXPECT_EQ(failure(last_bad, 3), wrong_type);

  const char* no_structure =
      "The excitation function must be a structure made by set_excitation_function.\n";
  EXPECT_EQ(failure(Value::scalar(1), 1), no_structure);
  EXPECT_EQ(failure(nullptr, 1), no_structure);
}

TEST(ExcitationStructure, FieldsThatCannotBeRead) {
  const auto expect_named = [](StructArray structure, const char* field) {
    structure.set(field, "text", 1);
    EXPECT_EQ(failure(structure, 2), "Field '" + std::string(field) +
                                         "' of element 2 of the excitation function must be a "
                                         "number, but it is of class char.\n");
  };
  for (const char* field : {"type", "A0", "f0", "pulse_width", "B"}) {
    expect_named(pulse_rows(2), field);
  }
  for (const char* field : {"ts", "w", "clip_threshold"}) expect_named(sampled_rows(2), field);
  StructArray missing;
  missing.set("type", 1.0);
  EXPECT_NE(failure(missing, 1).find("'A0' of the excitation"), std::string::npos);
}

TEST(ExcitationStructure, SignalsThatCannotBeRead) {
  StructArray s = sampled_rows(1);
  const auto with = [&](Value value) {
    s.set("signal", std::move(value));
    return failure(s, 1);
  };
  const std::string doubles =
      "Field 'signal' of the excitation function must be a full array of real doubles, but it is ";
  EXPECT_EQ(with(Value::text("abc")), doubles + "of class char.\n");
  EXPECT_EQ(with(Value::complex_matrix(1, 2, {1, {0, 1}})), doubles + "complex.\n");
  EXPECT_EQ(with(Value::matrix(0, 5, {})), "Field 'signal' of the excitation function is empty.\n");
  EXPECT_EQ(with(Value()), "Field 'signal' of the excitation function is empty.\n");

  // The number of columns is the number of samples: a column is one sample, and that has no line.
  s.set("signal", Value::matrix(4, 1, {1, 2, 3, 4}));
  const Excitations column = read(s, 1);
  EXPECT_EQ(column[0]->get_nxtimesamples(), 1);
  EXPECT_EQ(column[0]->number_of_tsd_terms(), 0);
}

TEST(ExcitationStructure, TransformThatFails) {
  const standalone::RegisteredFunction broken("fft",
                                              [](int, mxArray* plhs[], int, const mxArray*[]) {
                                                plhs[0] = mxCreateDoubleMatrix(2, 1, mxREAL);
                                              });
  EXPECT_EQ(failure(sampled_rows(1), 1),
            "The transform of the excitation function by 'fft' failed.\n");
}

}  // namespace
}  // namespace kestrel
