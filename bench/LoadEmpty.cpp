/// \file
/// A library of nothing: what loading any library costs.
