#ifndef KIV_JAVA_RUNTIME_ENVIRONMENT_H
#define KIV_JAVA_RUNTIME_ENVIRONMENT_H

#include "java/jni_tables.h"

// The environment table of the stand-in runtime. A call of a slot that it does not serve breaks a rule.
const kiv::JniEnvironmentTable& EnvironmentTable();

// The rule that such a slot breaks, for the machine's table too.
void NotServed();

#endif
