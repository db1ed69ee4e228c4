// What the examples in the headers leave to their reader. First what all may use; below, behind the name of a header,
// what its example takes for granted.
struct sink_t {
  template <class... T>
  void operator()(T&&...) const {}
};
struct answer_t {
  template <class... T>
  bool operator()(T&&...) const {
    return true;
  }
};
constexpr sink_t Show, Report, Log, Print, Send, Connect, use, Login, Rename, ReadKey, SavePatch;
constexpr answer_t Offer;
constexpr short kPump = 1, kValve = 2, kChannel = 3, kProject = 4, kTag = 5;
constexpr int kRequestTimeout = 0x200500, kPassword = 0x200600, kName = 0x200700;
extern CFile& file;
extern CTableObj &plant, &device, &tag;
extern CVariant value;
extern std::string text, utf8;
using namespace zorutil;

// platform/framework/file.h
extern char buffer[16];
// platform/framework/file_lock.h
extern CString path;
extern CIniFile settings;
// platform/framework/module_path.h
extern int SomethingInThisLibrary;
// platform/zorplatform/file_search.h
extern CString folder;
// platform/zorssl/cipher.h
extern std::uint8_t key[32], counter[16], bytes[100];
// util/docs/structured_doc.h
struct CPump {
  int Save(CStructuredDoc& doc, void* parent, const char16_t* ns) const;
  void Load(CStructuredDoc& doc, void* parent, const char16_t* ns);
  int speed_;
  CString label_;
};
// util/docs/xml_document.h
extern const char16_t* ns;
constexpr sink_t LoadPump;
// util/docs/xml_schema_collection.h
extern CXmlDocument document;
// util/i18n/localized_message.h
extern std::ostream& operatorLog;
// util/i18n/message_exception.h
constexpr int kBadValue = -7;
// util/i18n/zor_error.h
i18n::zor_error_t Configure(CTableObj& device);
// util/json/json_serializer.h
extern root_t project;
// util/json/patch.h
extern root_t document;
// util/json/pointer.h
extern std::shared_ptr<IValue> other;
// util/objects/load_errors.h
extern project::load_report_t report;
extern CTableObj& root;
extern CXmlDocument document;
extern void* element;
extern std::unique_ptr<i18n::ILocalizedMessage> message;
// util/objects/object_search.h
struct CPlant : CTableObjNp {
  ref_counted_obj_ptr FindObjectByName(const char16_t* name, ITableObjVisitor& visitor) const override;
};
// util/objects/object_serialization.h
extern CTableObj& other;
// util/objects/surrogate_table.h
extern CTableObj& draftTag;
// util/objects/table.h
extern CTable& channels;
// util/objects/type_library.h
extern const type_description_t kPump, kValve;
// util/objects/type_registry.h
extern CTableObj& pump;
// util/objects/unordered_table.h
constexpr short kStep = 6;
extern CTableObj* step;
// util/os/throttle.h
struct device_t {
  bool Poll();
};
extern device_t device;
// util/project/project_diff.h
extern CTableObj *saved, *running;
// util/project/project_patch.h
extern owned_obj_ptr plant;
// util/project/tree_validation.h
extern owned_obj_ptr plant;
// util/properties/definition_file.h
constexpr answer_t Show;
// util/properties/property.h
extern property_list_t list;
// util/properties/property_definition.h
extern int id;
// util/properties/validation.h
extern property_list_t changes;
// util/serialization/buffer_chain.h
extern CSerializationBuffer buffer;
// util/serialization/pool.h
struct sample_t {
  double value;
};
// util/serialization/serialization_buffer.h
extern CVariant copy;
extern CSerializationBuffer other;
// util/serialization/stream_serializers.h
extern CVariant other;
// util/tagproc/deadband.h
extern CVariant lastReported;
// util/tagproc/resolution_rate.h
struct timer_t {
  void Start(unsigned ms);
};
extern timer_t timer;
// util/values/base64.h
extern std::uint8_t bytes[100];
// util/values/variant_compare.h
extern CVariant last, now;
// platform/text/collation.h
extern CString name;
// util/i18n/message_ids.h
extern std::unique_ptr<i18n::ILocalizedMessage> message;
// util/json/value_conversions.h
extern object_t device;
// util/objects/field_value.h
extern const field_t field;
// platform/text/real_chars.h
extern double value;
