/* What a test tells the programs into which failing_call.so is preloaded, and what they answer: one
 * file that all of them map. Everything is zero at first.
 *
 * The environment says whom it concerns:
 *   FAULT_CONTROL  the file
 *   FAULT_PROGRAM  the name of the program that is hit; all others run undisturbed
 *   FAULT_FOLDER   the folder; calls about files elsewhere are neither counted nor hindered
 */
#ifndef KELVARION_TESTS_FAULTS_FAILING_CALL_H
#define KELVARION_TESTS_FAULTS_FAILING_CALL_H

struct FaultControl {
  long at;           /* Which call it is, from 1; 0 for none. */
  long calls;        /* So many there were since it was set to 0. */
  int kill;          /* SIGKILL instead of the call, and only calls that change something count. */
  int error;         /* What the call fails with; 0: with what is most usual for it. */
  char report[8192]; /* The call that was hit and what it was about; empty as long as none was. */
};

#endif
