// The examinations of an installation. None of them throws: what fails is a finding.
#pragma once

#include "host/doctor/Finding.h"
#include "host/settings/Settings.h"

/// Folders, rights, free space and log of this side.
void ExamineFolders(const Settings& settings, Findings& findings);
/// Companion programs, the reference file, and the libraries.
void ExaminePrograms(const Settings& settings, Findings& findings);
/// The share or server, and its clock.
void ExamineRemoteSide(const Settings& settings, Findings& findings);
/// What earlier runs have left.
void ExamineLeftovers(const Settings& settings, Findings& findings);
