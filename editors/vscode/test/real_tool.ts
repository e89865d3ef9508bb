// The tool for tests that run it: the one that OSTRA names, or that of PATH.
import { homedir } from "node:os";

import { findTool } from "../src/tool";

export const realTool = findTool(process.env["OSTRA"] ?? "ostra", {
  searchPath: process.env["PATH"] ?? "",
  home: homedir(),
  folder: undefined,
});

export const skip = realTool === undefined && "there is no ostra: neither in PATH nor as OSTRA says";

export const brokenKernel = `#define KERNELINPUTS \\
(UInt32) count, \\
(Block<Float32>) target

OSTRA_PARALLEL_KERNEL(Broken, KERNELINPUTS)
{
	uint i = LinearInvocation();
	if (i < cuont)
	{
		UNIFORM_BUFFER(target)[i] = vec3(1.0).x;
	}
}
OSTRA_PARALLEL_KERNEL_END
`;
