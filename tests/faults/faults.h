// Makes one system call of this process fail or fall short: the n-th of its name from now on. The
// functions stand before the C library's, so whatever is loaded behind them is affected. Linked
// into the tests; for a program of one's own, preload the library with FAULTS=CALL:N:ERRNO set, for
// example FAULTS=send:3:104.
#ifndef TESTS_FAULTS_FAULTS_H
#define TESTS_FAULTS_FAULTS_H

extern "C" {
// An error of 0 means: transfer one byte only, where the call transfers bytes.
void faults_arm(const char* call, int nth, int error);

// No more faults; how often the call was made since faults_arm.
int faults_disarm(void);
}

#endif  // TESTS_FAULTS_FAULTS_H
