// A simulated GSM modem on a pseudo-terminal or a TCP port.
#include <CLI/CLI.hpp>
#include <chrono>
#include <exception>
#include <iostream>

#include "modem_options.h"
#include "modem_server.h"
#include "simulator/simulated_modem.h"

int main(int argc, char** argv) {
  CLI::App app(
      "A simulated GSM modem on a pseudo-terminal, whose path is the first line of the output.\n"
      "It runs until SIGINT or SIGTERM. Commands on its standard input, a line each, make things happen; \"help\" "
      "lists "
      "them.",
      "tavro-modem");
  ModemServer::Places places;
  ModemOptions options;
  bool endsWithInput = false;
  try {
    app.add_option("--link", places.link, "symbolic link to the device, removed at the end")->type_name("PATH");
    app.add_option("--tcp", places.tcp,
                   "a TCP port in place of a pseudo-terminal, on 127.0.0.1 by default; 0 is any that is free")
        ->type_name("[ADDRESS:]PORT")
        ->excludes("--link");
    app.add_option("--transcript", places.transcript, "file that gets all bytes of both directions, with times")
        ->type_name("FILE");
    app.add_flag("--end-with-input", endsWithInput, "end where the standard input does");
    options.Describe(app);
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }
  try {
    tavro::ModemSettings settings = options.Settings();
    settings.clockMs =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
            .count();
    tavro::SimulatedModem modem(settings);
    options.Apply(modem);
    ModemServer(modem, places, endsWithInput).Run();
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "tavro-modem: " << error.what() << "\n";
    return 1;
  }
}
