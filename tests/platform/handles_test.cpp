#include <gtest/gtest.h>

#include <functional>
#include <list>
#include <stdexcept>

#include "platform/qxdb/driver.h"
#include "platform/qxsplt/errors.h"

namespace {

using namespace qxdb;

std::string RefusalOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const Errors& errors) {
        const ErrorRecord& record = errors.GetNextError();
        EXPECT_EQ(record.GetSeverity(), 2);
        return record.GetErrorDescription();
    }
    return "nothing was thrown";
}

class PlainField : public Field {
  public:
    std::string GetName() override { return "plain"; }
    Column::BindType GetType() override { return Column::BindString; }
    bool IsNull() override { return false; }
};

class TextField : public PlainField {
  public:
    std::string AsString() override { return "text"; }
};

class PlainBinding : public BindValueImpl {
  public:
    Schema GetSchema() override { return Schema({std::make_shared<ColumnRecord>()}); }
    std::vector<std::unique_ptr<Field>> MakeFields(bool bindAsStrings,
                                                   const ExclusionIndex& excluded) override {
        std::vector<std::unique_ptr<Field>> fields;
        if (excluded.empty()) {
            fields.push_back(std::make_unique<PlainField>());
        }
        if (bindAsStrings) {
            fields.push_back(std::make_unique<TextField>());
        }
        return fields;
    }
};

class PlainCursor : public CursorImpl {
  public:
    bool Fetch() override { return ++fetches < 3; }
    std::shared_ptr<BindValueImpl> Bind() override { return std::make_shared<PlainBinding>(); }
    unsigned int GetRowCount() override { return 7; }
    int fetches = 0;
};

class PlainDriver : public Driver {
  public:
    PlainDriver(std::string givenName, DBTYPE served) : name(std::move(givenName)), type(served) {}
    std::string GetName() const override { return name; }
    bool Serves(DBTYPE wanted) const override { return wanted == type; }
    std::shared_ptr<ConnectionImpl> Connect(const ConnectionDef& definition) override {
        throw std::runtime_error(definition.GetDataSource() + "," + definition.GetUser() + "," +
                                 definition.GetPassword() + "," + definition.GetOptions());
    }

  private:
    std::string name;
    DBTYPE type;
};

TEST(Handles, EveryOperationOfAnEmptyHandleNamesTheHandle) {
    const std::string connection = "The connection handle is empty";
    EXPECT_EQ(RefusalOf([] { Connection().GetServerVersionNumber(); }), connection);
    EXPECT_EQ(RefusalOf([] { Connection().HasUnicodeSupport(); }), connection);
    EXPECT_EQ(RefusalOf([] { Connection().GetProperties(); }), connection);
    EXPECT_EQ(RefusalOf([] { Connection().SetCallback(nullptr); }), connection);
    EXPECT_EQ(RefusalOf([] { Connection().CreateStatement(CursorDefault, 1); }), connection);
    EXPECT_EQ(RefusalOf([] { Connection().GetConfigurationParameters(); }), connection);
    const std::string statement = "The statement handle is empty";
    Schema schema;
    EXPECT_EQ(RefusalOf([] { Statement().SetStatement(""); }), statement);
    EXPECT_EQ(RefusalOf([] { Statement().Prepare("", Statement::PrepareSQL); }), statement);
    EXPECT_EQ(RefusalOf([] { Statement().Execute(); }), statement);
    EXPECT_EQ(RefusalOf([] { Statement().ResultSetAvailable(); }), statement);
    EXPECT_EQ(RefusalOf([] { Statement().GetResults(1, ""); }), statement);
    EXPECT_EQ(RefusalOf([] { Statement().Bind(); }), statement);
    EXPECT_EQ(RefusalOf([] { Statement().GetBindHint(); }), statement);
    EXPECT_EQ(RefusalOf([&] { Statement().SetBindHint(schema); }), statement);
    EXPECT_EQ(RefusalOf([] { Statement().GetProperties(); }), statement);
    const std::string cursor = "The cursor handle is empty";
    EXPECT_EQ(RefusalOf([] { Cursor().Fetch(Cursor::DirectionNext, 1); }), cursor);
    EXPECT_EQ(RefusalOf([] { Cursor().Bind(); }), cursor);
    EXPECT_EQ(RefusalOf([] { Cursor().IsComputeResultSet(); }), cursor);
    EXPECT_EQ(RefusalOf([] { Cursor().GetRowCount(); }), cursor);
    EXPECT_EQ(RefusalOf([] { Cursor().GetLocator(0, "", "", "", false); }), cursor);
    const std::string binding = "The binding handle is empty";
    BindValue empty;
    int value = 0;
    EXPECT_EQ(RefusalOf([&] { empty.GetSchema(); }), binding);
    EXPECT_EQ(RefusalOf([&] { empty.setIsUnicodeInstance(true); }), binding);
    EXPECT_EQ(RefusalOf([&] { empty.GetNextBind(); }), binding);
    EXPECT_EQ(RefusalOf([&] { empty.Bind(DataType::DirectionIn, 1, value, nullptr); }), binding);
    EXPECT_EQ(RefusalOf([&] { Fields(empty, false, {}, false, nullptr); }), binding);
}

TEST(Handles, CancelOfAnEmptyStatementDoesNothing) {
    EXPECT_NO_THROW(Statement().Cancel());
}

TEST(Handles, EmptyConfigurationHasNothing) {
    ConfigurationParameters parameters;
    EXPECT_FALSE(parameters.LoadDatabaseParameters(false, "x"));
    EXPECT_EQ(parameters.ParameterCount(), 0);
    EXPECT_THROW(parameters.GetParameter(0), std::out_of_range);
    EXPECT_THROW(parameters.GetParameter(-1), std::out_of_range);
}

TEST(Handles, CopiesShareTheirState) {
    Cursor first(std::make_shared<PlainCursor>());
    Cursor second = first;
    EXPECT_TRUE(first.Fetch(Cursor::DirectionNext, 1));
    EXPECT_TRUE(second.Fetch(Cursor::DirectionNext, 1));
    EXPECT_FALSE(first.Fetch(Cursor::DirectionNext, 1));
    EXPECT_EQ(second.GetRowCount(), 7u);
}

TEST(Handles, DefaultsOfADriversClasses) {
    Cursor cursor(std::make_shared<PlainCursor>());
    EXPECT_FALSE(cursor.IsComputeResultSet());
    EXPECT_FALSE(cursor.GetLocator(0, "t", "", "", false).IsValid(true));
    BindValue binding = cursor.Bind();
    EXPECT_NO_THROW(binding.setIsUnicodeInstance(true));
    EXPECT_EQ(binding.GetNextBind(), 1u);
    long value = 0;
    EXPECT_EQ(RefusalOf([&] { binding.Bind(DataType::DirectionIn, 3, value, nullptr); }),
              "Storage can't be bound at position 3 of this binding");
}

TEST(Handles, FieldsAreThoseThatTheDriverMakes) {
    BindValue binding(std::make_shared<PlainBinding>());
    Fields fields(binding, true, {}, false, nullptr);
    ASSERT_EQ(fields.GetFieldCount(), 2u);
    EXPECT_EQ(&fields[1], &fields.GetField(1));
    EXPECT_THROW(fields[2], std::out_of_range);
    EXPECT_THROW(fields.GetField(2), std::out_of_range);
    Fields none(binding, false, {{0, 0}}, false, nullptr);
    EXPECT_EQ(none.GetFieldCount(), 0u);
}

TEST(Handles, FieldRefusesWhatItsKindDoesNotHave) {
    PlainField field;
    const auto refusal = [&](const std::function<void()>& action) { return RefusalOf(action); };
    const auto text = [](const char* operation) {
        return std::string("Field \"plain\" has no ") + operation;
    };
    EXPECT_EQ(field.GetDirection(), DataType::DirectionIn);
    EXPECT_EQ(refusal([&] { field.SetNull(); }), text("SetNull"));
    EXPECT_EQ(refusal([&] { field.GetStream(); }), text("GetStream"));
    EXPECT_EQ(refusal([&] { field.GetBuffer(); }), text("GetBuffer"));
    EXPECT_EQ(refusal([&] { field.GetCursor(); }), text("GetCursor"));
    EXPECT_EQ(refusal([&] { field.AsString(); }), text("AsString"));
    EXPECT_EQ(refusal([&] { field.AsShort(); }), text("AsShort"));
    EXPECT_EQ(refusal([&] { field.AsInt(); }), text("AsInt"));
    EXPECT_EQ(refusal([&] { field.AsLong(); }), text("AsLong"));
    EXPECT_EQ(refusal([&] { field.AsFloat(); }), text("AsFloat"));
    EXPECT_EQ(refusal([&] { field.AsDouble(); }), text("AsDouble"));
    EXPECT_EQ(refusal([&] { field.AsDecimal(); }), text("AsDecimal"));
    EXPECT_EQ(refusal([&] { field.AsTimestamp(); }), text("AsTimestamp"));
    EXPECT_EQ(refusal([&] { field.AsBigInt(); }), text("AsBigInt"));
    EXPECT_EQ(refusal([&] { field.SetBigInt(1); }), text("SetBigInt"));
    EXPECT_EQ(refusal([&] { field.SetTimestamp(Timestamp()); }), text("SetTimestamp"));
    EXPECT_EQ(refusal([&] { field.SetDecimal(Decimal()); }), text("SetDecimal"));
    EXPECT_EQ(refusal([&] { field.SetDouble(1); }), text("SetDouble"));
    EXPECT_EQ(refusal([&] { field.SetFloat(1); }), text("SetFloat"));
    EXPECT_EQ(refusal([&] { field.SetLong(1); }), text("SetLong"));
    EXPECT_EQ(refusal([&] { field.SetInt(1); }), text("SetInt"));
    EXPECT_EQ(refusal([&] { field.SetShort(1); }), text("SetShort"));
    EXPECT_EQ(refusal([&] { field.SetString(""); }), text("SetString"));
}

TEST(Handles, TextGoesIntoTheSinkFromAsString) {
    struct Sink : StringInsert {
        void Insert(const std::string& piece) override { text += piece; }
        std::string text;
    } sink;
    TextField field;
    field.GetStringInto(&sink);
    EXPECT_EQ(sink.text, "text");
}

TEST(Handles, SchemaGivesItsColumns) {
    EXPECT_EQ(Schema().GetNumberColumns(), 0u);
    EXPECT_THROW(Schema()[0], std::out_of_range);
    auto record = std::make_shared<ColumnRecord>();
    record->name = "price";
    record->type = Column::BindDecimal;
    record->direction = DataType::DirectionInOut;
    record->nativeType = 12;
    record->nativeTypeName = "MONEY";
    record->scale = -1;
    record->computeColumn = 3;
    record->lobFlags = 17;
    record->dateTimeFormat = "yyyy";
    const Schema schema({record});
    const Schema copy = schema;
    const Column& column = copy[0];
    EXPECT_EQ(&column, &schema[0]);
    EXPECT_EQ(column.GetName(), "price");
    EXPECT_EQ(column.GetType(), Column::BindDecimal);
    EXPECT_EQ(column.GetDirection(), DataType::DirectionInOut);
    EXPECT_EQ(column.GetNativeType(), 12);
    EXPECT_EQ(column.GetNativeTypeName(), "MONEY");
    EXPECT_EQ(column.GetScale(), -1);
    EXPECT_EQ(column.GetComputeColumn(), 3);
    EXPECT_EQ(column.GetLobFlags(), 17u);
    EXPECT_EQ(column.GetDateTimeFormat(), "yyyy");
    EXPECT_THROW(copy[1], std::out_of_range);
}

TEST(Handles, RawMessageBecomesARecord) {
    struct Receiver : ErrorRecordCallback {
        int HandleNotify(const ErrorRecord& record) override {
            seen = record.GetErrorDescription() + "," + record.GetSQLState() + "," +
                   std::to_string(record.GetSeverity()) + "," + std::to_string(record.GetErrorCode()) + "," +
                   std::to_string(record.GetLineNumber()) + "," + std::to_string(record.GetErrorPosition());
            userData = record.GetUserData();
            return 0;
        }
        std::string seen;
        void* userData = nullptr;
    } receiver;
    RawMessage message;
    message.severity = 1;
    message.code = 5701;
    message.line = 2;
    message.position = 30;
    message.text = "Changed database context";
    message.sqlState = "01000";
    message.userData = &receiver;
    static_cast<Callback&>(receiver).HandleRawMessage(message);
    EXPECT_EQ(receiver.seen, "Changed database context,01000,1,5701,2,30");
    EXPECT_EQ(receiver.userData, &receiver);
}

class Locator : public LobLocatorImp {
  public:
    explicit Locator(int& counter) : alive(counter) { ++alive; }
    ~Locator() override { --alive; }
    std::unique_ptr<LobLocatorImp> Clone() const override {
        auto copy = std::make_unique<Locator>(alive);
        copy->data = data;
        return copy;
    }
    DynBuffer GetLocatorData() const override { return data; }
    void SetLocatorData(const DynBuffer& given) override { data = given; }
    bool IsValid(bool check) const override { return check; }
    bool IsReadOnly() const override { return false; }
    bool EditAsClob() const override { return true; }
    std::string TableName() const override { return isXml ? "xml" : "t"; }
    void SetAsXMLType() override { isXml = true; }
    void Import(const std::string& name, Connection&, std::list<std::string>*) override {
        done = "in " + name;
    }
    void Export(const std::string& name, Connection&, std::list<std::string>*) override {
        done = "out " + name;
    }

    std::string done;

  private:
    int& alive;
    DynBuffer data;
    bool isXml = false;
};

TEST(Handles, LocatorOwnsAndClonesItsImplementation) {
    int alive = 0;
    {
        auto* implementation = new Locator(alive);
        LobLocator locator(implementation);
        DynBuffer data(4, 2);
        locator.SetLocatorData(data);
        LobLocator copy = locator;
        LobLocator clone = copy.Clone();
        EXPECT_EQ(alive, 3);
        clone = locator;
        clone = *&clone;
        EXPECT_EQ(alive, 3);
        locator.SetAsXMLType();
        EXPECT_EQ(locator.TableName(), "xml");
        EXPECT_EQ(copy.TableName(), "t");
        EXPECT_EQ(copy.GetLocatorData().GetLength(), 2u);
        EXPECT_TRUE(copy.IsValid(true));
        EXPECT_FALSE(copy.IsValid(false));
        EXPECT_FALSE(copy.IsReadOnly());
        EXPECT_TRUE(copy.EditAsClob());
        Connection connection;
        locator.Import("a", connection, nullptr);
        EXPECT_EQ(implementation->done, "in a");
        locator.Export("b", connection, nullptr);
        EXPECT_EQ(implementation->done, "out b");
        copy = LobLocator();
        EXPECT_EQ(alive, 2);
    }
    EXPECT_EQ(alive, 0);
}

TEST(Handles, EmptyLocatorIsInvalidAndReadOnly) {
    LobLocator empty(nullptr);
    DynBuffer data;
    Connection connection;
    empty.SetLocatorData(data);
    empty.SetAsXMLType();
    EXPECT_FALSE(empty.IsValid(true));
    EXPECT_TRUE(empty.IsReadOnly());
    EXPECT_FALSE(empty.EditAsClob());
    EXPECT_EQ(empty.TableName(), "");
    EXPECT_EQ(empty.GetLocatorData().GetLength(), 0u);
    EXPECT_FALSE(empty.Clone().IsValid(true));
    EXPECT_EQ(RefusalOf([&] { empty.Import("f", connection, nullptr); }),
              "\"f\" can't be imported: the locator refers to no large object");
    EXPECT_EQ(RefusalOf([&] { empty.Export("f", connection, nullptr); }),
              "\"f\" can't be exported: the locator refers to no large object");
}

// The only test that registers drivers: they stay.
TEST(Handles, ManagerFindsDriversAndGivesThemTheDefinition) {
    Manager& manager = Manager::Instance();
    EXPECT_EQ(RefusalOf([&] { manager.Bind(DBTYPE_DB2CONFIG, "d", "", "", "", "").Connect(); }),
              "No driver for server type 13; registered drivers: none");
    manager.RegisterDriver(std::make_shared<PlainDriver>("one", DBTYPE_DB2));
    manager.RegisterDriver(std::make_shared<PlainDriver>("two", DBTYPE_ORACLE));
    EXPECT_EQ(manager.GetDriverNames(), (std::vector<std::string>{"one", "two"}));
    EXPECT_EQ(manager.FindDriver("", DBTYPE_ORACLE)->GetName(), "two");
    EXPECT_EQ(manager.FindDriver("one", DBTYPE_ORACLE)->GetName(), "one");
    EXPECT_EQ(manager.FindDriver("", DBTYPE_MYSQL), nullptr);
    manager.RegisterDriver(std::make_shared<PlainDriver>("one", DBTYPE_MYSQL));
    EXPECT_EQ(manager.GetDriverNames(), (std::vector<std::string>{"one", "two"}));
    EXPECT_EQ(manager.FindDriver("", DBTYPE_DB2), nullptr);
    EXPECT_EQ(manager.FindDriver("", DBTYPE_MYSQL)->GetName(), "one");
    EXPECT_EQ(RefusalOf([&] { manager.RegisterDriver(nullptr); }), "A driver to register is missing");
    EXPECT_EQ(RefusalOf([&] { manager.Bind(DBTYPE_MYSQL, "d", "", "", "three", "").Connect(); }),
              "Unknown driver \"three\"; registered drivers: one, two");

    // The definition goes to the driver as it is.
    const ConnectionDef definition = manager.Bind(DBTYPE_MYSQL, "d", "u", "p", "", "o");
    EXPECT_EQ(definition.GetType(), DBTYPE_MYSQL);
    EXPECT_EQ(definition.GetDriverName(), "");
    try {
        definition.Connect();
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "d,u,p,o");
    }
}

}  // namespace
