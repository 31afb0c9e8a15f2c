/* The program that asks the machine about names and passwords, and how workers reach it.
 *
 * Apache's parent starts it with its own rights and starts it again when it dies. Workers reach it
 * through one socket that they inherit and that nothing they start does: it has no name in the file
 * system, is closed by every exec, and cannot be taken from workers, whose memory and descriptors
 * are closed to their own account. The program ends with Apache's parent, however that ends.
 */
#pragma once

#include "httpd_module.h"

/* Once the configuration is read, in Apache's parent; `pool` lives as long as the configuration.
 * Without a program, one that runs is gone and nothing is started. `program` and `home` live as
 * long as the pool. */
void StartHelper(apr_pool_t* pool, server_rec* s, const char* program, const char* home);

/* From time to time, in Apache's parent. */
void KeepHelperRunning(void);

/* In a worker, before it serves anybody. */
void ProtectWorker(server_rec* s);

/* The helper's answer to a text, from the request's pool; NULL when there was none, which has been
 * logged. Waits for half a minute at most. Safe from any thread. */
const char* AskHelper(request_rec* r, const char* text, apr_size_t size, apr_size_t* answer_size);
