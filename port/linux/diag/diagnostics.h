// The diagnostics of the data model, each made by its tool and told to the daemon.
#pragma once

void diagnosePing();
void diagnoseRoute();
void diagnoseLookup();
void diagnoseServers();
void diagnoseDownload();
void diagnoseUpload();
void diagnoseF5Loopback();
void diagnoseF4Loopback();
