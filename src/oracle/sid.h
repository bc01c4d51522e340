// One Oracle instance of the machine.
#pragma once

#include <string>

namespace specific::oracle {

/// What the registry says of an instance; home, homeName and baseHome are the values
/// ORACLE_HOME, ORACLE_HOME_NAME and ORACLE_BASE of its home.
struct SOracleSid {
    std::wstring sid;  ///< as the service's command line gives it
    std::wstring home;
    std::wstring homeName;
    std::wstring baseHome;
    bool isAsm = false;       ///< an ASM instance, by the service's name
    bool autostart = true;    ///< false only where the home's autostart option says so
    bool isReadOnly = false;  ///< a read-only home: its files lie under baseHome
};

}  // namespace specific::oracle
