// Environment set-up shared by the connection and the driver lists.
#include "odbc_handles.h"

namespace tabvet {

EnvHandle AllocateEnvironment() {
    EnvHandle env;
    if (!env.Allocate(NoParentHandle{}).Ok()) {
        return env;
    }
    if (!TABVET_ODBC(SQLSetEnvAttr, env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3),
                     SQL_IS_UINTEGER)
             .Ok()) {
        env.Reset();
    }
    return env;
}

}  // namespace tabvet
