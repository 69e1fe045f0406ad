/// Octave looks for this symbol when it loads a plug-in: with the value 1 it hands over and takes
/// back complex arrays whose real and imaginary parts alternate, which is what the sources are
/// compiled for (MX_HAS_INTERLEAVED_COMPLEX). `mkoctfile --mex -R2018a` adds the same line.
extern "C" {
extern const int __mx_has_interleaved_complex__;  // NOLINT(bugprone-reserved-identifier)
const int __mx_has_interleaved_complex__ = 1;     // NOLINT(bugprone-reserved-identifier)
}
