#include <Pegasus/Common/Exception.h>

#include <exception>
#include <iostream>

#include "cimd/service/Service.h"

int main(int argc, char** argv) {
  try {
    cimd::Options options;
    if (const auto status = cimd::readOptions(argc, argv, options)) {
      return *status;
    }
    return cimd::serve(options);
  } catch (const std::exception& error) {
    std::cerr << "morvik-cimd: " << error.what() << std::endl;
    return cimd::EXIT_RUN_TIME;
  } catch (const Pegasus::Exception& error) {
    std::cerr << "morvik-cimd: " << error.getMessage() << std::endl;
    return cimd::EXIT_RUN_TIME;
  }
}
