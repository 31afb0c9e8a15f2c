/* What an account may do, by the rules of a repository and those for all repositories: src/rules
 * and the files it decides by, for modules written in C. */
#pragma once

#include <apr_tables.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum { kAccessNone, kAccessRead, kAccessWrite } AccessLevel;

/* The rules of two files as they were at one moment, and an account. Safe from any thread. */
typedef struct AccessRules AccessRules;

/* Receives what people should know about a rules file: that it denies everything, since it cannot
 * be used, or what is probably not meant as it stands. Called once each time a file has changed,
 * and each time for one that cannot even be looked at. */
typedef void (*TellAboutFile)(void* baton, int denies, const char* text);

/* A file that is NULL or missing has no rules. `sids` are texts (const char*), NULL for nobody; "*"
 * is added to those of an account. The result lives as long as the pool; NULL, when the memory does
 * not suffice, denies everything. */
const AccessRules* ReadAccessRules(apr_pool_t* pool, const char* repository_file,
                                   const char* global_file, const apr_array_header_t* sids,
                                   TellAboutFile tell, void* baton);

/* What the account may do at a canonical path of the repository; with `tree` also everywhere below.
 * Without a path: the most it may do anywhere in the repository. */
AccessLevel DecideAccess(const AccessRules* rules, const char* path, int tree);

/* Which rule says so, as a text in the pool. */
const char* ExplainAccess(apr_pool_t* pool, const AccessRules* rules, const char* path, int tree);

#ifdef __cplusplus
}
#endif
