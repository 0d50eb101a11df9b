// Tells of a file in hand which version of the library it is: strings Retimer_RX_RT.so | grep
// '@(#)'. Nothing reads it at run time; the linker is told to keep it.
extern "C" const char RetimerVersion[];
const char RetimerVersion[] = "@(#)Retimer_RX_RT " RETIMER_VERSION;
