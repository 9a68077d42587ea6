// The host side of an MCP App as the official SDK builds it (AppBridge of
// @modelcontextprotocol/ext-apps), bundled for the browser by esbuild: the
// view in a sandboxed frame of an opaque origin, spoken to over
// postMessage. The test calls window.showView and reads window.hostLog.
import { AppBridge, PostMessageTransport } from '@modelcontextprotocol/ext-apps/app-bridge';

window.hostLog = [];

// Shows `html` (the view as resources/read returned it) in a new frame and
// hands it `result` (a tools/call result) once it has completed the
// handshake, as a host does after the tool's call.
window.showView = async ({ html, result, toolArguments, hostContext }) => {
  const frame = document.createElement('iframe');
  // Scripts only: the strictest sandbox hosts use, where the view's origin is
  // opaque and nothing it might want from an origin is there.
  frame.setAttribute('sandbox', 'allow-scripts');
  frame.setAttribute('title', 'Time view');
  frame.style.cssText = 'display:block;width:100%;height:80px;border:1px solid #888;box-sizing:border-box';
  document.getElementById('host').append(frame);
  const bridge = new AppBridge(null, { name: 'varnholt-view-test-host', version: '1.0.0' },
    { logging: {} }, { hostContext });
  bridge.onsizechange = ({ height }) => {
    window.hostLog.push(['size-changed', height]);
    if (height > 0) frame.style.height = `${height}px`;
  };
  bridge.oninitialized = () => {
    window.hostLog.push(['initialized', bridge.getAppVersion()?.name ?? null]);
    bridge.sendToolInput({ arguments: toolArguments ?? {} });
    bridge.sendToolResult(result);
  };
  bridge.onloggingmessage = (message) => window.hostLog.push(['log', message]);
  // The bridge listens before the view starts: a view speaks first.
  await bridge.connect(new PostMessageTransport(frame.contentWindow, frame.contentWindow));
  frame.srcdoc = html;
  window.bridge = bridge;
};
