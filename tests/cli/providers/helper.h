/* SPDX-License-Identifier: Apache-2.0 */
#ifndef HELPER_H
#define HELPER_H

/*
 * The helper library beside a provider library. Its names are as ordinary as they come, and every
 * pair of libraries has the same ones. HELPER_WHICH tells the pairs apart.
 */
extern int helper_count;

/* Which helper this is; counts the calls. */
const char* helper_name(void);

#endif
