/// The release that a plug-in was made for, and the MEX interface it wants: version 800 with
/// interleaved complex values. A part of every plug-in, except where the host's own build adds one.
extern "C" void mexfilerequiredapiversion(unsigned int* built_by, unsigned int* required) {
  *built_by = 0x2023B;
  *required = 0x08000000;
}
