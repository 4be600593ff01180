#include "batch/parser_name.h"

namespace qxbatch {

namespace {

struct VersionedName {
    const wchar_t* name;
    bool covered;
};

VersionedName OracleName(double version) {
    if (version >= 9.2)
        return {L"Oracle92", version <= 9.3};
    if (version >= 8.17)
        return {L"Oracle9i", version >= 9.01 && version <= 9.02};
    return {L"Oracle8i", version >= 8.16};
}

VersionedName Db2Name(double version) {
    if (version >= 8.0)
        return {L"DB28", version < 9.0};
    if (version >= 7.02)
        return {L"DB272", true};
    if (version >= 7.01)
        return {L"DB271", true};
    return {L"DB26", version >= 6.0};
}

VersionedName Db2Os390Name(double version) {
    if (version >= 7.0)
        return {L"DB2OS3907", version < 8.0};
    return {L"DB2OS3906", version >= 6.0};
}

VersionedName SybaseName(double version) {
    if (version >= 12.5)
        return {L"Sybase125", version < 13.0};
    return {L"Sybase12", version >= 12.0};
}

VersionedName NameOf(qxdb::DBTYPE dbType, double version) {
    switch (dbType) {
        case qxdb::DBTYPE_ORACLE:
            return OracleName(version);
        case qxdb::DBTYPE_SQLSERVER:
            return {L"SQL2000", version >= 8.0};
        case qxdb::DBTYPE_DB2:
            return Db2Name(version);
        case qxdb::DBTYPE_DB2OS390:
            return Db2Os390Name(version);
        case qxdb::DBTYPE_SYBASE:
            return SybaseName(version);
        case qxdb::DBTYPE_MYSQL:
            return {L"MySQL501", version >= 5.0 && version <= 6.0};
        default:
            return {L"Generic", true};
    }
}

}  // namespace

std::wstring VersionedParserName(qxdb::DBTYPE dbType, double version, bool* covered) {
    const VersionedName found = NameOf(dbType, version);
    if (covered != nullptr)
        *covered = found.covered;
    return found.name;
}

std::wstring ParserName(qxdb::DBTYPE dbType, double version, bool useGenericParser) {
    switch (dbType) {
        case qxdb::DBTYPE_SYBASE:
        case qxdb::DBTYPE_SQLSERVER:
            return L"Generic:0";
        case qxdb::DBTYPE_DB2:
        case qxdb::DBTYPE_ORACLE:
            return useGenericParser ? L"Generic:1" : VersionedParserName(dbType, version, nullptr);
        case qxdb::DBTYPE_DB2OS390:
            return useGenericParser ? L"DB2OS390Generic:1" : VersionedParserName(dbType, version, nullptr);
        case qxdb::DBTYPE_MYSQL:
            return L"MySQLGeneric:1";
        default:
            return L"Generic:1";
    }
}

std::string DefaultBatchSeparator(qxdb::DBTYPE dbType) {
    switch (static_cast<int>(dbType)) {
        case qxdb::DBTYPE_ORACLE:
            return "/";
        case qxdb::DBTYPE_SYBASE:
        case qxdb::DBTYPE_SQLSERVER:
            return "go";
        case qxdb::DBTYPE_DB2:
        case 8:  // a server without a handler of its own
        case qxdb::DBTYPE_DB2OS390:
        case qxdb::DBTYPE_MYSQL:
            return ";";
        default:
            return "";
    }
}

}  // namespace qxbatch
