#include "cimd/Service.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/system/system_error.hpp>
#include <csignal>
#include <iostream>

#include "cimd/http/CimHandler.h"
#include "cimd/http/HttpServer.h"
#include "cimd/mof/MofLoader.h"

namespace cimd {

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

ExitStatus listenAndRun(const tcp::endpoint& endpoint, Repository& repository) {
  asio::io_context io(1);
  CimHandler handler(repository);
  HttpServer server(io, endpoint, handler);
  asio::signal_set signals(io, SIGTERM, SIGINT);
  signals.async_wait([&](boost::system::error_code, int) { server.stop(); });
  std::cerr << "morvik-cimd: listening on " << server.localEndpoint() << std::endl;
  io.run();
  return EXIT_OK;
}

}  // namespace

ExitStatus serve(const Options& options) {
  Repository repository;
  try {
    mof::loadMof(options.files, repository);
  } catch (const mof::MofError& error) {
    std::cerr << error.what() << std::endl;
    return EXIT_MOF;
  }
  const tcp::endpoint endpoint(asio::ip::make_address(options.address), options.port);
  try {
    return listenAndRun(endpoint, repository);
  } catch (const boost::system::system_error& error) {
    std::cerr << "morvik-cimd: cannot listen on " << endpoint << ": " << error.code().message()
              << std::endl;
    return EXIT_RUN_TIME;
  }
}

}  // namespace cimd
