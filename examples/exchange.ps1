# One cycle of a field computer:
# powershell -STA -ExecutionPolicy Bypass -File exchange.ps1 C:\Transport \\server\share
param([Parameter(Mandatory)] [string] $Folder, [Parameter(Mandatory)] [string] $Share)
$ErrorActionPreference = 'Stop'
$failures = 0

# What a step cannot do stays where it is, for the next run.
function Invoke-Step([scriptblock] $Step) {
    try { & $Step } catch { $script:failures = 1; Write-Warning $_.Exception.Message }
}

$transport = New-Object -ComObject znTransporter.clsTransporter
$remote = New-Object -ComObject znTransporter.clsXCOPYSndRcv
$remote.SendFolder = "$Folder\send"
$remote.ReceiveFolder = "$Folder\receive"
$remote.RemoteSendFolder = "$Share\to-enterprise"
$remote.RemoteReceiveFolder = "$Share\to-field"
$transport.SenderReceiver = $remote

Invoke-Step { $null = $transport.MoveAll("$Folder\outbox") }
Invoke-Step { $null = $transport.SendReceive() }
Invoke-Step {
    foreach ($packet in $transport.Received) {
        Invoke-Step { $packet.Deliver("$Folder\inbox") }
    }
}
exit $failures
