// The recorded exchanges of tests/data/traffic.
#pragma once

#include <string>
#include <vector>

// The body of "07-get-property.request.http" and its like: what stands behind the header, put
// together again where it was sent in chunks. Throws std::runtime_error when the file is missing or
// is no HTTP message.
std::string recordedBody(const std::string& fileName);

// Names of the recorded cases that have a CIM-XML body in the request, "07-get-property" and its
// like, sorted.
std::vector<std::string> recordedCases();
