#pragma once

namespace Http
{
/**
 * Prepares the process for HTTP: initialises libcurl and seeds rand(3). The waits between retries take their randomness
 * from there, so that devices that lost the same server do not come back to it in step.
 *
 * To be called by main before it starts any thread, as libcurl asks (curl_global_init(3)); more calls do nothing.
 *
 * @return whether libcurl is usable; a failure is logged at level 0, and every operation then fails.
 */
bool InitializeProcess();
} // namespace Http
