// What exploration finds, as a tree, and the tree as the explore document
// (docs/formats/explore.md).
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "support/host/env_props.h"
#include "support/xml/xml.h"

namespace specific::oracle {

/// A node of the tree. A tree is built and read on one thread.
class COracleProps {
  public:
    virtual ~COracleProps() = default;

    /// A new document whose one top-level element is this object with everything below it. Throws
    /// where a text holds a character that the ANSI code page lacks.
    virtual util::xml_node_t ToXml() const = 0;

    bool isError = false;
    std::wstring errorDescription;
};

using props_list_t = std::vector<boost::shared_ptr<COracleProps>>;

/// The machine.
class COverallProps : public COracleProps {
  public:
    util::xml_node_t ToXml() const override;
    void AddHome(const boost::shared_ptr<COracleProps>& home) { homes.push_back(home); }

    props_list_t homes;
    boost::shared_ptr<CEnvProps> env;
};

/// One Oracle home; its children are CDatabaseProps and CAsmInstanceProps.
class CHomeProps : public COracleProps {
  public:
    util::xml_node_t ToXml() const override;
    void AddChild(const boost::shared_ptr<COracleProps>& props) { children.push_back(props); }

    std::wstring name;
    std::wstring version;  ///< V$INSTANCE.VERSION, in capitals
    std::wstring path;
    std::wstring desc;  ///< the version banner, in capitals
    props_list_t children;
};

/// One database, or, with isError, why an instance could not be read.
class CDatabaseProps : public COracleProps {
  public:
    /// Sets timeUtc to now.
    CDatabaseProps();
    util::xml_node_t ToXml() const override;

    std::wstring name;  ///< DB_NAME
    std::wstring globalName;
    std::wstring recoveryFileDest;
    std::wstring sid;
    std::wstring localListener;
    std::wstring remoteListener;
    bool archiveLogsOn = false;
    bool isReadonly = false;
    bool hasGuaranteedRestorePoints = false;
    bool isCluster = false;
    std::wstring config;           ///< path of the parameter file
    std::wstring id;               ///< DBID, as text
    std::wstring resetlogsChange;  ///< a change number, as text
    props_list_t controlFiles;
    props_list_t dataFiles;
    props_list_t logFiles;
    props_list_t tempFiles;
    std::map<std::wstring, std::string> logGroups;  ///< group number by member path
    std::wstring timeUtc;
    std::wstring pwdFilePath;
    std::string pfile;                                        ///< base64 of the parameter file
    std::vector<std::pair<std::wstring, std::wstring>> pdbs;  ///< name and GUID
};

/// One database file; size is bytes in decimal, as Oracle printed it.
class CDbFileProps : public COracleProps {
  public:
    CDbFileProps(std::wstring file_path, std::wstring file_size)
        : path(std::move(file_path)), size(std::move(file_size)) {}
    util::xml_node_t ToXml() const override;

    std::wstring path;
    std::wstring size;
};

/// One ASM instance; its disks are CAsmDiskProps.
class CAsmInstanceProps : public COracleProps {
  public:
    explicit CAsmInstanceProps(std::wstring instance_sid) : sid(std::move(instance_sid)) {}
    util::xml_node_t ToXml() const override;

    std::wstring sid;
    props_list_t disks;
};

/// One ASM disk; name is the name of its disk group.
class CAsmDiskProps : public COracleProps {
  public:
    util::xml_node_t ToXml() const override;

    std::wstring name;
    std::wstring path;
    std::wstring state;
};

/// The document of a machine without instances: an empty OracleOverall.
util::xml_node_t MakeEmptyOverallDocument();

}  // namespace specific::oracle
