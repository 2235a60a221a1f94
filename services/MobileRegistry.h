// Names of the values and keys below the registry's mobile product, shared by everything that uses it. Those
// of an FTP site stand in ftp/settings/FtpSettings.h.
#pragma once

namespace MobileRegistry {

// Keys.
inline constexpr auto kMobileKey = L"VtMobile";
inline constexpr auto kTransportKey = L"Transport";

// What the mobile configuration is made of.
inline constexpr auto kMobileConfigValue = L"MobileConfigValue";
inline constexpr auto kEnterpriseHome = L"EnterpriseHome";
inline constexpr auto kFieldHome = L"FieldHome";
inline constexpr auto kEnterpriseWorkingDir = L"EnterpriseWorkingDir";
inline constexpr auto kFieldWorkingDir = L"FieldWorkingDir";
inline constexpr auto kEnterpriseIncoming = L"EnterpriseIncoming";
inline constexpr auto kFieldIncoming = L"FieldIncoming";
inline constexpr auto kEnterpriseOutgoing = L"EnterpriseOutgoing";
inline constexpr auto kFieldOutgoing = L"FieldOutgoing";
inline constexpr auto kXDeltaRegPath = L"XDeltaRegPath";
inline constexpr auto kXDeltaReference = L"XDeltaReference";
inline constexpr auto kXDeltaReferenceFiles = L"XDeltaReferenceFiles";

// Values of other programs of the product family; the library neither reads nor writes them.
inline constexpr auto kMobileEnabled = L"MobileEnabled";
inline constexpr auto kProductConfiguration = L"ProductConfiguration";
inline constexpr auto kMobileAdminTool = L"MobileAdminTool";
inline constexpr auto kOrvanPacketTemplateSource = L"OrvanPacketTemplateSource";
inline constexpr auto kDesignerPacketTemplateSource = L"DesignerPacketTemplateSource";
inline constexpr auto kTemplates = L"Templates";
inline constexpr auto kSketchTemplate = L"SketchTemplate";
inline constexpr auto kBackdrop = L"Backdrop";
inline constexpr auto kSessionManager = L"ZNSESSIONMANAGER";
inline constexpr auto kWorkflowManager = L"ZNWORKFLOWMANAGER";
inline constexpr auto kEncoderProgId = L"EncoderProgId";
inline constexpr auto kSndRcvProgId = L"SndRcvProgId";
inline constexpr auto kGDBReplicationSetReplication = L"GDBReplicationSetReplication";
inline constexpr auto kGDBReplicationConfigFile = L"GDBReplicationConfigFile";
inline constexpr auto kGDBReplicationAutomaticStartup = L"GDBReplicationAutomaticStartup";
inline constexpr auto kGDBReplicationDesktopShortcut = L"GDBReplicationDesktopShortcut";

}  // namespace MobileRegistry
