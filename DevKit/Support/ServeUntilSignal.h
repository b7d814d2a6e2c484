#pragma once

#include <functional>
#include <memory>
#include <string>

/**
 * The life of a tool that serves until SIGINT or SIGTERM. To be called once, by main, before there is any other thread.
 * What goes wrong is told in one line on standard error.
 *
 * @param start starts the server and returns it, to be destroyed at the end; null when there is nothing to serve
 * @return the program's exit status: 0; 2 when start throws std::invalid_argument, as for a command line that is wrong;
 *         1 when it throws any other exception
 */
int ServeUntilSignal(const std::string& program, const std::function<std::shared_ptr<void>()>& start);
