// Environment set-up shared by the connection and the driver lists.
#include "odbc_handles.h"

namespace tabvet {

EnvHandle AllocateEnvironment() {
    SQLHANDLE env = SQL_NULL_HANDLE;
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env))) {
        return EnvHandle();
    }
    EnvHandle owned(env);
    if (!SQL_SUCCEEDED(SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3),
                                     SQL_IS_UINTEGER))) {
        return EnvHandle();
    }
    return owned;
}

}  // namespace tabvet
