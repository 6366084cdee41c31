// The plug-in's processor count lives in its host interface, which this test program does not
// link; the tests own it here.
int DLnumProc = 1;
